#include "Platform/Linux/LinuxAliasManager.h"

#include "Classes/Shared/inBackground.h"
#include "Platform/Linux/AliasSearch.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/PrivateMounts.h"

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <future>
#include <vector>

#include <sys/stat.h>

namespace fs = std::filesystem;

static int s_worlds = 0; // each test has a folder of its own, whichever process it runs in

namespace {

/// A search on a busy machine takes as long as it takes.
constexpr AliasSearch::Limits kPatient{1'000'000, std::chrono::minutes(1)};

class LinuxAliasManagerTest : public ::testing::Test
{
protected:
    static std::optional<Path> find(const AliasManager &aliases, const Bytes &record)
    {
        const auto resolution = aliases.resolve(record);
        return resolution ? std::optional(resolution->path) : std::nullopt;
    }
    /// On a thread other than the main one.
    std::optional<Path> find(const Bytes &record) const
    {
        return inBackground([&] { return find(m_aliases, record); });
    }
    std::optional<Path> findOnTheMainThread(const Bytes &record) const { return find(m_aliases, record); }
    AliasIdentity identityOf(const Path &path) const
    {
        return *AliasIdentity::parse(*AliasRecord::parse(*m_aliases.newAlias(path))->find(AliasTag::kIdentity));
    }
    AliasSearch::Limits wide() const { return kPatient; }

    LinuxAliasManager m_aliases{LinuxAliasManager::Handles::DoNotTry, kPatient};
    Path m_root = PrivateHome::current().makeFolder("world" + std::to_string(++s_worlds));
};

} // namespace

TEST_F(LinuxAliasManagerTest, newAlias_identity_holdsTheWholeInodeNumber)
{
    struct stat status = {};
    ASSERT_EQ(::stat(m_root.c_str(), &status), 0);
    EXPECT_EQ(identityOf(m_root).inode, status.st_ino);
    EXPECT_EQ(m_aliases.copyInfo(*m_aliases.newAlias(m_root))->nodeID, std::uint32_t(status.st_ino));
}

TEST_F(LinuxAliasManagerTest, newAlias_nameThatIsNoUtf8_keepsItsBytes)
{
    const Path path = m_root / "odd\xFF\xFE";
    fs::create_directory(path);
    const Bytes record = *m_aliases.newAlias(path);
    EXPECT_EQ(m_aliases.copyInfo(record)->path, path);
    EXPECT_EQ(m_aliases.copyInfo(record)->targetName, "odd\uFFFD\uFFFD");
    fs::rename(path, m_root / "other\xFF");
    EXPECT_EQ(find(record), m_root / "other\xFF");
}

TEST_F(LinuxAliasManagerTest, newAlias_pathThroughALink_storesTheRealOne)
{
    fs::create_directories(m_root / "real/folder");
    fs::create_directory_symlink("real", m_root / "link");
    EXPECT_EQ(m_aliases.copyInfo(*m_aliases.newAlias(m_root / "link/folder"))->path, m_root / "real/folder");
    EXPECT_EQ(m_aliases.copyInfo(*m_aliases.newAlias(m_root / "link"))->path, m_root / "link") << "the link is meant";
}

TEST_F(LinuxAliasManagerTest, newAlias_top_isNamedAfterItsVolume)
{
    const Result<Bytes> record = m_aliases.newAlias("/");
    ASSERT_TRUE(record);
    const AliasInfo info = *m_aliases.copyInfo(*record);
    EXPECT_EQ(info.path, "/");
    EXPECT_EQ(info.targetName, info.volumeName);
    EXPECT_TRUE(info.volumeIsBootVolume);
    EXPECT_EQ(find(*record), "/");
}

TEST_F(LinuxAliasManagerTest, resolve_recordOfAnotherSystem_isNotFound)
{
    AliasRecord record = *AliasRecord::parse(*m_aliases.newAlias(m_root));
    std::erase_if(record.tags, [](const AliasTag &tag) { return tag.tag == AliasTag::kIdentity; });
    const Result<AliasManager::Resolution> resolution = m_aliases.resolve(*record.encode());
    ASSERT_FALSE(resolution);
    EXPECT_EQ(resolution.failure().code, ErrorCode::NotFound);
}

TEST_F(LinuxAliasManagerTest, resolve_linkLeftAtTheOldPlace_findsTheFolderBehindIt)
{
    fs::create_directories(m_root / "old/folder");
    const Bytes record = *m_aliases.newAlias(m_root / "old/folder");
    fs::rename(m_root / "old", m_root / "new");
    fs::create_directory_symlink("new", m_root / "old");
    EXPECT_EQ(find(record), m_root / "new/folder");
    EXPECT_EQ(m_aliases.searches(), 0);
}

TEST_F(LinuxAliasManagerTest, resolve_bothMovedTogether_goesByTheRelativePath)
{
    fs::create_directories(m_root / "a/documents");
    fs::create_directories(m_root / "a/data/folder");
    const Bytes record = *m_aliases.newAlias(m_root / "a/data/folder", m_root / "a/documents");
    fs::rename(m_root / "a", m_root / "b");
    const Result<AliasManager::Resolution> resolution = m_aliases.resolve(record, m_root / "b/documents");
    ASSERT_TRUE(resolution);
    EXPECT_EQ(resolution->path, m_root / "b/data/folder");
    EXPECT_EQ(m_aliases.searches(), 0);
}

TEST_F(LinuxAliasManagerTest, resolve_hardLinkedFile_keepsTheStoredName)
{
    std::ofstream(m_root / "one") << "content";
    const Bytes record = *m_aliases.newAlias(m_root / "one");
    fs::create_hard_link(m_root / "one", m_root / "another");
    EXPECT_EQ(find(record), m_root / "one");
    fs::remove(m_root / "one");
    EXPECT_EQ(find(record), m_root / "another");
}

TEST_F(LinuxAliasManagerTest, resolve_lostFolder_isSearchedForOnceUntilItsVolumeChanges)
{
    PrivateMounts mounts; // what other programs do is not on it
    fs::create_directory(m_root / "volume");
    if (!mounts.mountMemory(m_root / "volume"))
        GTEST_SKIP() << "this machine does not let the test mount anything";
    fs::create_directories(m_root / "volume/parent/folder");
    const Bytes record = *m_aliases.newAlias(m_root / "volume/parent/folder");
    fs::remove(m_root / "volume/parent/folder");
    for (int round = 0; round < 5; ++round)
        EXPECT_EQ(find(record), std::nullopt);
    EXPECT_EQ(m_aliases.searches(), 1);
    fs::create_directory(m_root / "elsewhere");
    EXPECT_EQ(find(record), std::nullopt);
    EXPECT_EQ(m_aliases.searches(), 1) << "a folder above the volume is none of it";
    fs::create_directory(m_root / "volume/parent/other");
    EXPECT_EQ(find(record), std::nullopt);
    EXPECT_EQ(find(record), std::nullopt);
    EXPECT_EQ(m_aliases.searches(), 2);
    fs::create_directory(m_root / "volume/other");
    EXPECT_EQ(find(record), std::nullopt);
    EXPECT_EQ(m_aliases.searches(), 3);
}

TEST_F(LinuxAliasManagerTest, resolve_movedFolderOnTheMainThread_isFoundWithoutASearchOnceAnotherFoundIt)
{
    fs::create_directories(m_root / "a/folder");
    fs::create_directories(m_root / "b");
    const Bytes record = *m_aliases.newAlias(m_root / "a/folder");
    EXPECT_EQ(findOnTheMainThread(record), m_root / "a/folder");
    fs::rename(m_root / "a/folder", m_root / "b/folder");
    EXPECT_EQ(findOnTheMainThread(record), std::nullopt);
    EXPECT_EQ(m_aliases.searches(), 0);
    EXPECT_EQ(find(record), m_root / "b/folder");
    EXPECT_EQ(m_aliases.searches(), 1);
    EXPECT_EQ(findOnTheMainThread(record), m_root / "b/folder");
    fs::rename(m_root / "b/folder", m_root / "c");
    EXPECT_EQ(findOnTheMainThread(record), std::nullopt);
    EXPECT_EQ(m_aliases.searches(), 1);
}

TEST_F(LinuxAliasManagerTest, resolve_searchThatRanIntoALimit_isRepeatedLater)
{
    PrivateMounts mounts; // what other programs do is not on it
    const Path volume = m_root / "volume";
    fs::create_directory(volume);
    if (!mounts.mountMemory(volume))
        GTEST_SKIP() << "this machine does not let the test mount anything";
    const LinuxAliasManager aliases(LinuxAliasManager::Handles::DoNotTry, {1, std::chrono::minutes(1)});
    fs::create_directories(volume / "a/folder");
    fs::create_directories(volume / "b/c/d");
    const Bytes record = *aliases.newAlias(volume / "a/folder");
    fs::rename(volume / "a/folder", volume / "b/c/d/folder");
    for (int round = 0; round < 3; ++round)
        EXPECT_EQ(inBackground([&] { return find(aliases, record); }), std::nullopt);
    EXPECT_EQ(aliases.searches(), 1) << "not at once";
}

TEST_F(LinuxAliasManagerTest, resolve_onSeveralThreadsAtOnce_isOneSearch)
{
    fs::create_directories(m_root / "a/folder");
    fs::create_directories(m_root / "b");
    const Bytes record = *m_aliases.newAlias(m_root / "a/folder");
    fs::rename(m_root / "a/folder", m_root / "b/folder");
    std::vector<std::future<std::optional<Path>>> answers;
    for (int thread = 0; thread < 8; ++thread)
        answers.push_back(std::async(std::launch::async, [&] { return find(m_aliases, record); }));
    for (auto &answer : answers)
        EXPECT_EQ(answer.get(), m_root / "b/folder");
    EXPECT_EQ(m_aliases.searches(), 1);
}

TEST_F(LinuxAliasManagerTest, resolve_movedFolderWithTheOldRecord_isSearchedForOnce)
{
    fs::create_directories(m_root / "a/folder");
    fs::create_directories(m_root / "b");
    const Bytes record = *m_aliases.newAlias(m_root / "a/folder");
    fs::rename(m_root / "a/folder", m_root / "b/folder");
    for (int round = 0; round < 5; ++round)
        EXPECT_EQ(find(record), m_root / "b/folder");
    EXPECT_EQ(m_aliases.searches(), 1);
}

TEST_F(LinuxAliasManagerTest, resolve_pathThatNoFileHas_isNotFollowed)
{
    fs::create_directory(m_root / "folder");
    const Bytes sound = *m_aliases.newAlias(m_root / "folder");
    fs::rename(m_root / "folder", m_root / "moved");
    std::string deep;
    for (int level = 0; level < 30000; ++level)
        deep += "/a";
    const std::string out = (m_root / "folder/../../../..").native();
    for (const std::string &path : {deep, out}) {
        Result<AliasRecord> record = AliasRecord::parse(sound);
        ASSERT_TRUE(record);
        record->set(AliasTag::kPosixPath, bytesOf(path));
        const auto resolution = inBackground([&] { return m_aliases.resolve(*record->encode()); });
        ASSERT_FALSE(resolution) << path.substr(0, 80);
        EXPECT_EQ(resolution.failure().code, ErrorCode::NotFound);
    }
    EXPECT_EQ(m_aliases.searches(), 0);
    EXPECT_EQ(find(sound), m_root / "moved");
}

TEST_F(LinuxAliasManagerTest, find_otherMountBelow_isNotEntered)
{
    PrivateMounts mounts;
    fs::create_directories(m_root / "outer/inner");
    fs::create_directories(m_root / "elsewhere/target");
    if (!mounts.mountMemory(m_root / "outer"))
        GTEST_SKIP() << "this machine does not let the test mount anything";
    fs::create_directories(m_root / "outer/inner");
    fs::create_directories(m_root / "outer/start");
    ASSERT_TRUE(mounts.bind(m_root / "elsewhere", m_root / "outer/inner"));
    const AliasIdentity identity = identityOf(m_root / "elsewhere/target");
    const MountTable table = *MountTable::read();
    AliasSearch search(identity, table, wide());
    EXPECT_EQ(search.find(m_root / "outer/start/x", m_root / "outer"), std::nullopt);
    EXPECT_EQ(search.entries(), 2u);
}

TEST_F(LinuxAliasManagerTest, find_links_areNotFollowed)
{
    fs::create_directories(m_root / "here");
    fs::create_directories(m_root / "there/target");
    fs::create_directory_symlink("../there", m_root / "here/link");
    const AliasIdentity identity = identityOf(m_root / "there/target");
    const MountTable table = *MountTable::read();
    AliasSearch search(identity, table, wide());
    EXPECT_EQ(search.find(m_root / "here/x", m_root / "here"), std::nullopt);
    EXPECT_EQ(search.entries(), 1u);
}

TEST_F(LinuxAliasManagerTest, find_linkAboveTheOldPlace_isNotSearchedThrough)
{
    fs::create_directories(m_root / "volume/projects/old");
    fs::create_directories(m_root / "elsewhere/old/target");
    const AliasIdentity identity = identityOf(m_root / "elsewhere/old/target");
    fs::remove_all(m_root / "volume/projects");
    fs::create_directory_symlink(m_root / "elsewhere", m_root / "volume/projects");
    const MountTable table = *MountTable::read();
    AliasSearch search(identity, table, wide());
    EXPECT_EQ(search.find(m_root / "volume/projects/old/x", m_root / "volume"), std::nullopt);
    EXPECT_EQ(search.entries(), 1u) << "the link, and nothing behind it";
}

TEST_F(LinuxAliasManagerTest, find_entryLimit_endsTheSearch)
{
    for (int index = 0; index < 100; ++index)
        fs::create_directories(m_root / ("folder" + std::to_string(index)) / "below");
    fs::create_directories(m_root / "folder99/below/target");
    const AliasIdentity identity = identityOf(m_root / "folder99/below/target");
    const MountTable table = *MountTable::read();
    AliasSearch narrow(identity, table, {100, std::chrono::minutes(1)});
    EXPECT_EQ(narrow.find(m_root / "x", m_root), std::nullopt);
    EXPECT_LT(narrow.entries(), 110u);
    AliasSearch late(identity, table, {1'000'000, std::chrono::milliseconds(0)});
    EXPECT_EQ(late.find(m_root / "x", m_root), std::nullopt);
    AliasSearch enough(identity, table, wide());
    EXPECT_EQ(enough.find(m_root / "x", m_root), m_root / "folder99/below/target");
}

TEST_F(LinuxAliasManagerTest, find_outward_doesNotSearchTheSameFolderTwice)
{
    fs::create_directories(m_root / "a/b");
    for (int index = 0; index < 50; ++index)
        fs::create_directory(m_root / "a/b" / std::to_string(index));
    AliasIdentity identity = identityOf(m_root);
    identity.inode = 1; // nobody's
    const MountTable table = *MountTable::read();
    AliasSearch search(identity, table, wide());
    EXPECT_EQ(search.find(m_root / "a/b/x", m_root), std::nullopt);
    EXPECT_EQ(search.entries(), 52u) << "50 in b, b in a, a in the root";
}
