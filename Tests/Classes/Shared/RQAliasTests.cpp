#include "Classes/Shared/RQAlias.h"

#include "Platform/Fake/FakeAliasManager.h"
#include "Platform/Formats/AliasRecord.h"
#include "Tests/Support/BackgroundAliases.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/PrivateMounts.h"

#include <gmock/gmock.h>

#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {

/// Real folders and the machine's own aliases.
class RQAliasTest : public ::testing::Test
{
protected:
    Path make(const std::string &name) const
    {
        fs::create_directories(m_root / name);
        return m_root / name;
    }

    BackgroundAliases m_aliases;
    Override<AliasManager> m_override{m_aliases};
    Path m_root = PrivateHome::current().makeFolder("aliases");
};

/// Aliases made to order.
class RQAliasFakeTest : public ::testing::Test
{
protected:
    RQAliasFakeTest() { m_aliases.addFolder("/folder"); }

    FakeAliasManager m_aliases;
    Override<AliasManager> m_override{m_aliases};
};

} // namespace

static const PropertyList *valueFor(const std::optional<PropertyList> &list, const std::string &key)
{
    for (const auto &[name, value] : *list->as<PropertyList::Dictionary>()) {
        if (name == key)
            return &value;
    }
    return nullptr;
}

static std::vector<std::string> keysOf(const std::optional<PropertyList> &list)
{
    std::vector<std::string> keys;
    for (const auto &[name, value] : *list->as<PropertyList::Dictionary>())
        keys.push_back(name);
    return keys;
}

TEST_F(RQAliasTest, fullPath_folderRenamedInPlace_isTheNewPath)
{
    const std::optional<RQAlias> alias = RQAlias::aliasWithPath(make("old"));
    ASSERT_TRUE(alias);
    fs::rename(m_root / "old", m_root / "new");
    EXPECT_EQ(alias->fullPath(), m_root / "new");
}

TEST_F(RQAliasTest, fullPath_folderDeletedAndAnotherMade_isNothing)
{
    const std::optional<RQAlias> alias = RQAlias::aliasWithPath(make("again"));
    ASSERT_TRUE(alias);
    fs::remove(m_root / "again");
    make("again");
    EXPECT_EQ(alias->fullPath(), std::nullopt);
    EXPECT_EQ(*valueFor(alias->originalAliasInfo(), "pathString"), PropertyList((m_root / "again").native()));
}

TEST_F(RQAliasTest, fullPath_volumeNotMounted_isNothing)
{
    PrivateMounts mounts;
    const Path volume = make("volume");
    if (!mounts.mountMemory(volume))
        GTEST_SKIP() << "this machine does not let the test mount anything";
    const std::optional<RQAlias> alias = RQAlias::aliasWithPath(make("volume/folder"));
    ASSERT_TRUE(alias);
    EXPECT_EQ(alias->fullPath(), volume / "folder");
    ASSERT_TRUE(mounts.unmount(volume));
    EXPECT_EQ(alias->fullPath(), std::nullopt);
}

TEST_F(RQAliasTest, aliasWithPath_missing_isFileNotFound)
{
    Error error;
    EXPECT_FALSE(RQAlias::aliasWithPath(m_root / "missing", &error));
    EXPECT_EQ(error.domain, "NSOSStatusErrorDomain");
    EXPECT_EQ(error.code, -43);
    EXPECT_FALSE(RQAlias::aliasWithPath(m_root / "missing"));
}

TEST_F(RQAliasTest, aliasWithPath_done_leavesTheErrorAlone)
{
    Error error{"before", 5, "before"};
    ASSERT_TRUE(RQAlias::aliasWithPath(m_root, &error));
    EXPECT_EQ(error.domain, "before");
}

TEST_F(RQAliasTest, aliasWithPathRelativeToPath_targetIsBelow)
{
    make("base/target");
    const std::optional<RQAlias> alias = RQAlias::aliasWithPathRelativeToPath("target", m_root / "base");
    ASSERT_TRUE(alias);
    EXPECT_EQ(alias->fullPath(), m_root / "base/target");
    EXPECT_EQ(RQAlias::aliasWithPathRelativeToPath("/target", m_root / "base")->fullPath(), m_root / "base/target");
    EXPECT_FALSE(RQAlias::aliasWithPathRelativeToPath("missing", m_root / "base"));
    EXPECT_FALSE(RQAlias::aliasWithPathRelativeToPath("target", m_root / "missing"));
}

TEST_F(RQAliasTest, fullPathRelativeToPath_missing_isNothing)
{
    const std::optional<RQAlias> alias = RQAlias::aliasWithPath(make("folder"));
    EXPECT_EQ(alias->fullPathRelativeToPath(m_root), m_root / "folder");
    EXPECT_EQ(alias->fullPathRelativeToPath(m_root / "missing"), std::nullopt);
}

TEST_F(RQAliasTest, aliasWithData_aliasData_areTheSameBytes)
{
    const std::optional<RQAlias> alias = RQAlias::aliasWithPath(make("folder"));
    const RQAlias again = RQAlias::aliasWithData(alias->aliasData());
    EXPECT_EQ(again.aliasData(), alias->aliasData());
    EXPECT_EQ(again.fullPath(), m_root / "folder");
    EXPECT_TRUE(again.isEqual(*alias));
    EXPECT_EQ(again.hash(), alias->hash());
}

TEST_F(RQAliasTest, aliasWithData_nothing_isAnObjectWithoutARecord)
{
    const RQAlias alias = RQAlias::aliasWithData(std::nullopt);
    EXPECT_EQ(alias.fullPath(), std::nullopt);
    EXPECT_EQ(alias.aliasData(), std::nullopt);
    EXPECT_FALSE(alias.aliasInfo());
    EXPECT_FALSE(alias.originalAliasInfo());
    EXPECT_EQ(alias.hash(), RQAlias().hash());
}

TEST_F(RQAliasTest, aliasWithData_noRecord_keepsTheBytesAndResolvesToNothing)
{
    const RQAlias alias = RQAlias::aliasWithData(bytesOf("no record"));
    EXPECT_EQ(alias.aliasData(), bytesOf("no record"));
    EXPECT_EQ(alias.fullPath(), std::nullopt);
    EXPECT_FALSE(alias.originalAliasInfo());
}

TEST_F(RQAliasTest, isEqual_neitherResolves_isTrue)
{
    const std::optional<RQAlias> one = RQAlias::aliasWithPath(make("one"));
    const std::optional<RQAlias> two = RQAlias::aliasWithPath(make("two"));
    EXPECT_FALSE(*one == *two);
    fs::remove(m_root / "one");
    EXPECT_FALSE(*one == *two);
    fs::remove(m_root / "two");
    EXPECT_TRUE(*one == *two);
    EXPECT_TRUE(*one == RQAlias());
}

TEST_F(RQAliasTest, aliasInfo_newRecord_hasEveryKeyWithItsType)
{
    const Path folder = make("info/folder");
    const std::optional<PropertyList> info = RQAlias::aliasWithPath(folder)->aliasInfo();
    ASSERT_TRUE(info);
    EXPECT_EQ(keysOf(info),
              (std::vector<std::string>{"targetNameString", "volumeNameString", "pathString", "fileType", "fileCreator",
                                        "parentDirID", "nodeID", "filesystemID", "signature", "volumeIsBootVolume",
                                        "volumeIsAutomounted", "volumeIsEjectable", "volumeHasPersistentFileIDs"}));
    struct stat status = {}, parent = {};
    ASSERT_EQ(::stat(folder.c_str(), &status), 0);
    ASSERT_EQ(::stat(folder.parent_path().c_str(), &parent), 0);
    EXPECT_EQ(*valueFor(info, "targetNameString"), PropertyList("folder"));
    EXPECT_EQ(*valueFor(info, "pathString"), PropertyList(folder.native()));
    EXPECT_EQ(*valueFor(info, "nodeID"), PropertyList(std::uint64_t(std::uint32_t(status.st_ino))));
    EXPECT_EQ(*valueFor(info, "parentDirID"), PropertyList(std::uint64_t(std::uint32_t(parent.st_ino))));
    EXPECT_EQ(*valueFor(info, "volumeHasPersistentFileIDs"), PropertyList(true));
    EXPECT_NE(valueFor(info, "signature")->as<PropertyListInteger>(), nullptr);
    EXPECT_NE(valueFor(info, "volumeIsEjectable")->as<bool>(), nullptr);
}

TEST_F(RQAliasTest, encodeWithCoder_decoded_isTheSame)
{
    const std::optional<RQAlias> alias = RQAlias::aliasWithPath(make("folder"));
    PropertyList::Array coder;
    alias->encodeWithCoder(coder);
    ASSERT_EQ(coder.size(), 1u);
    EXPECT_EQ(*coder.front().as<Bytes>(), *alias->aliasData());
    EXPECT_EQ(RQAlias::aliasWithCoder(coder).aliasData(), alias->aliasData());
    PropertyList::Array empty;
    RQAlias().encodeWithCoder(empty);
    EXPECT_EQ(RQAlias::aliasWithCoder(empty).aliasData(), std::nullopt);
    EXPECT_EQ(RQAlias::aliasWithCoder({PropertyList("text")}).aliasData(), std::nullopt);
}

TEST_F(RQAliasFakeTest, fullPath_moved_updatesTheRecordInPlaceAndNotTheOriginal)
{
    const std::optional<RQAlias> alias = RQAlias::aliasWithPath("/folder");
    const std::optional<Bytes> before = alias->aliasData();
    m_aliases.move("/folder", "/other/place");
    EXPECT_EQ(alias->fullPath(), "/other/place");
    EXPECT_NE(alias->aliasData(), before);
    EXPECT_EQ(*valueFor(alias->aliasInfo(), "pathString"), PropertyList("/other/place"));
    EXPECT_EQ(*valueFor(alias->originalAliasInfo(), "pathString"), PropertyList("/folder"));
}

TEST_F(RQAliasFakeTest, setAliasData_another_takesANewOriginal)
{
    m_aliases.addFolder("/second");
    RQAlias alias = *RQAlias::aliasWithPath("/folder");
    alias.setAliasData(RQAlias::aliasWithPath("/second")->aliasData());
    EXPECT_EQ(alias.fullPath(), "/second");
    EXPECT_EQ(*valueFor(alias.originalAliasInfo(), "pathString"), PropertyList("/second"));
    alias.setAliasData(std::nullopt);
    EXPECT_FALSE(alias.originalAliasInfo());
}

TEST_F(RQAliasFakeTest, fullPath_volumeOfAnotherName_isNothing)
{
    const std::optional<RQAlias> alias = RQAlias::aliasWithPath("/folder");
    m_aliases.rename("Disk", "Other");
    EXPECT_EQ(alias->fullPath(), "/folder") << "the record is as it was";
    m_aliases.move("/folder", "/moved");
    EXPECT_EQ(alias->fullPath(), std::nullopt);
}

TEST_F(RQAliasFakeTest, fullPath_anotherNodeID_isNothing)
{
    // A record whose own words and whose identity name two folders.
    m_aliases.addFolder("/second");
    AliasRecord record = *AliasRecord::parse(*m_aliases.newAlias("/folder"));
    record.set(AliasTag::kIdentity, *AliasRecord::parse(*m_aliases.newAlias("/second"))->find(AliasTag::kIdentity));
    const RQAlias alias = RQAlias::aliasWithData(*record.encode());
    EXPECT_TRUE(m_aliases.resolve(*alias.aliasData()));
    EXPECT_EQ(alias.fullPath(), std::nullopt);
}

TEST_F(RQAliasFakeTest, aliasWithFSRef_otherFailures_haveTheirOwnCodes)
{
    for (const auto &[code, status] : {std::pair(ErrorCode::NotFound, -43), std::pair(ErrorCode::Permission, -5000),
                                       std::pair(ErrorCode::Io, -36), std::pair(ErrorCode::NoSpace, -34)}) {
        m_aliases.failCall(0, code);
        Error error;
        EXPECT_FALSE(RQAlias::aliasWithFSRef("/folder", {}, &error));
        EXPECT_EQ(error.code, status);
        EXPECT_EQ(error.domain, RQAlias::kErrorDomain);
    }
}

TEST_F(RQAliasFakeTest, aliasWithPath_thatMayNotBeLookedAt_isFileNotFound)
{
    m_aliases.failCall(0, ErrorCode::Permission);
    Error error;
    EXPECT_FALSE(RQAlias::aliasWithPath("/folder", &error));
    EXPECT_EQ(error.code, RQAlias::kFileNotFound);
}

TEST_F(RQAliasFakeTest, aliasInfoForAliasData_noData_isNothing)
{
    EXPECT_FALSE(RQAlias::aliasInfoForAliasData(std::nullopt));
    EXPECT_FALSE(RQAlias::aliasInfoForAliasData(bytesOf("x")));
    EXPECT_TRUE(RQAlias::aliasInfoForAliasData(*m_aliases.newAlias("/folder")));
}
