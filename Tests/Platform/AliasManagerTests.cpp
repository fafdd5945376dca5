#include "Platform/AliasManager.h"

#include "Platform/Fake/FakeAliasManager.h"
#include "Platform/Formats/AliasRecord.h"
#include "Tests/Support/BackgroundAliases.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/PrivateMounts.h"

#include <gmock/gmock.h>

#include <fstream>

namespace fs = std::filesystem;

static int s_worlds = 0; // each test has a folder of its own, whichever process it runs in

namespace {

/// The Linux service over a new folder of this machine.
struct LinuxWorld
{
    BackgroundAliases service;
    Path root = PrivateHome::current().makeFolder("world" + std::to_string(++s_worlds));
    PrivateMounts mounts;

    void addFolder(const Path &path) { fs::create_directories(path); }
    void addFile(const Path &path)
    {
        addFolder(path.parent_path());
        std::ofstream(path) << "content";
    }
    void move(const Path &from, const Path &to) { fs::rename(from, to); }
    void remove(const Path &path) { fs::remove_all(path); }
    bool addVolume(const Path &point) { return mounts.mountMemory(point); }
    void moveVolume(const Path &from, const Path &to) { ASSERT_TRUE(mounts.move(from, to)); }
    void unmount(const Path &point) { ASSERT_TRUE(mounts.unmount(point)); }
};

/// The same for a user who may not open by handle: what was moved has to be searched for.
struct SearchingLinuxWorld : LinuxWorld
{
    BackgroundAliases service{LinuxAliasManager::Handles::DoNotTry};
};

/// The fake with a folder of its own.
struct FakeWorld
{
    FakeAliasManager service;
    Path root = "/world";

    void addFolder(const Path &path) { service.addFolder(path); }
    void addFile(const Path &path) { service.addFile(path); }
    void move(const Path &from, const Path &to) { service.move(from, to); }
    void remove(const Path &path) { service.remove(path); }
    bool addVolume(const Path &point)
    {
        service.addVolume("Second", point);
        return true;
    }
    void moveVolume(const Path &, const Path &to) { service.mount("Second", to); }
    void unmount(const Path &) { service.mount("Second", {}); }
};

} // namespace

/// What holds for every maker of aliases.
template <class World>
class AliasManagerContract : public ::testing::Test
{
protected:
    AliasManagerContract() { m_world.addFolder(m_world.root); }

    Path at(const std::string &name) const { return m_world.root / name; }
    Bytes aliasFor(const std::string &name)
    {
        Result<Bytes> record = m_aliases.newAlias(at(name));
        EXPECT_TRUE(record) << record.failure().context;
        return std::move(record).operator*();
    }
    std::string resolved(const Bytes &record) const
    {
        const Result<AliasManager::Resolution> resolution = m_aliases.resolve(record);
        return resolution ? resolution->path.lexically_relative(m_world.root).native() : "(not found)";
    }

    World m_world;
    AliasManager &m_aliases = m_world.service;
};

using Worlds = ::testing::Types<LinuxWorld, SearchingLinuxWorld, FakeWorld>;
TYPED_TEST_SUITE(AliasManagerContract, Worlds);

TYPED_TEST(AliasManagerContract, newAlias_missingTarget_isNotFound)
{
    const Result<Bytes> record = this->m_aliases.newAlias(this->at("missing"));
    ASSERT_FALSE(record);
    EXPECT_EQ(record.failure().code, ErrorCode::NotFound);
}

TYPED_TEST(AliasManagerContract, newAlias_missingRelativeTo_isNotFound)
{
    this->m_world.addFolder(this->at("folder"));
    const Result<Bytes> record = this->m_aliases.newAlias(this->at("folder"), this->at("missing"));
    ASSERT_FALSE(record);
    EXPECT_EQ(record.failure().code, ErrorCode::NotFound);
}

TYPED_TEST(AliasManagerContract, copyInfo_newRecord_tellsNamesAndPath)
{
    this->m_world.addFolder(this->at("Some/Folder"));
    const Result<AliasInfo> info = this->m_aliases.copyInfo(this->aliasFor("Some/Folder"));
    ASSERT_TRUE(info);
    EXPECT_EQ(info->targetName, "Folder");
    EXPECT_EQ(info->path, this->at("Some/Folder"));
    EXPECT_NE(info->volumeName, "");
    EXPECT_NE(info->nodeID, 0u);
    EXPECT_NE(info->parentDirID, 0u);
    EXPECT_NE(info->nodeID, info->parentDirID);
    EXPECT_TRUE(info->volumeHasPersistentFileIDs);
}

TYPED_TEST(AliasManagerContract, copyInfo_noRecord_isCorrupt)
{
    for (const std::string bytes : {"", "no record", "no recordno recordno record"}) {
        const Result<AliasInfo> info = this->m_aliases.copyInfo(bytesOf(bytes));
        ASSERT_FALSE(info);
        EXPECT_EQ(info.failure().code, ErrorCode::Corrupt);
        const Result<AliasManager::Resolution> resolution = this->m_aliases.resolve(bytesOf(bytes));
        ASSERT_FALSE(resolution);
        EXPECT_EQ(resolution.failure().code, ErrorCode::Corrupt);
    }
}

TYPED_TEST(AliasManagerContract, resolve_untouchedTarget_answersItsPathAndTheSameRecord)
{
    this->m_world.addFile(this->at("file"));
    this->m_world.addFolder(this->at("folder"));
    for (const std::string name : {"file", "folder"}) {
        const Bytes record = this->aliasFor(name);
        const Result<AliasManager::Resolution> resolution = this->m_aliases.resolve(record);
        ASSERT_TRUE(resolution) << resolution.failure().context;
        EXPECT_EQ(resolution->path, this->at(name));
        EXPECT_EQ(resolution->record, record);
    }
}

TYPED_TEST(AliasManagerContract, resolve_renamedInPlace_answersTheNewPath)
{
    this->m_world.addFolder(this->at("old"));
    const Bytes record = this->aliasFor("old");
    this->m_world.move(this->at("old"), this->at("new"));
    EXPECT_EQ(this->resolved(record), "new");
}

TYPED_TEST(AliasManagerContract, resolve_movedElsewhere_answersTheNewPath)
{
    this->m_world.addFolder(this->at("a/b/c/target"));
    this->m_world.addFolder(this->at("x/y/z"));
    const Bytes record = this->aliasFor("a/b/c/target");
    this->m_world.move(this->at("a/b/c/target"), this->at("x/y/z/moved"));
    EXPECT_EQ(this->resolved(record), "x/y/z/moved");
}

TYPED_TEST(AliasManagerContract, resolve_enclosingFolderRenamed_answersTheNewPath)
{
    this->m_world.addFolder(this->at("a/b/target"));
    const Bytes record = this->aliasFor("a/b/target");
    this->m_world.move(this->at("a"), this->at("A"));
    EXPECT_EQ(this->resolved(record), "A/b/target");
}

TYPED_TEST(AliasManagerContract, resolve_anotherUnderTheOldName_answersTheMovedOne)
{
    this->m_world.addFolder(this->at("folder"));
    const Bytes record = this->aliasFor("folder");
    this->m_world.move(this->at("folder"), this->at("moved"));
    this->m_world.addFolder(this->at("folder"));
    EXPECT_EQ(this->resolved(record), "moved");
}

TYPED_TEST(AliasManagerContract, resolve_moved_bringsTheRecordUpToDate)
{
    this->m_world.addFolder(this->at("old"));
    const Bytes record = this->aliasFor("old");
    const AliasInfo before = *this->m_aliases.copyInfo(record);
    this->m_world.move(this->at("old"), this->at("new"));
    const Result<AliasManager::Resolution> resolution = this->m_aliases.resolve(record);
    ASSERT_TRUE(resolution);
    const AliasInfo after = *this->m_aliases.copyInfo(resolution->record);
    EXPECT_EQ(after.path, this->at("new"));
    EXPECT_EQ(after.targetName, "new");
    EXPECT_EQ(after.nodeID, before.nodeID);
    EXPECT_EQ(after.volumeName, before.volumeName);
    EXPECT_EQ(this->resolved(resolution->record), "new");
}

TYPED_TEST(AliasManagerContract, resolve_moved_keepsUnknownTags)
{
    this->m_world.addFolder(this->at("old"));
    AliasRecord record = *AliasRecord::parse(this->aliasFor("old"));
    record.set(99, bytesOf("odd"));
    this->m_world.move(this->at("old"), this->at("new"));
    const Result<AliasManager::Resolution> resolution = this->m_aliases.resolve(*record.encode());
    ASSERT_TRUE(resolution);
    const Result<AliasRecord> after = AliasRecord::parse(resolution->record);
    ASSERT_TRUE(after && after->find(99));
    EXPECT_EQ(*after->find(99), bytesOf("odd"));
}

TYPED_TEST(AliasManagerContract, resolve_removed_isNotFound)
{
    this->m_world.addFolder(this->at("folder"));
    const Bytes record = this->aliasFor("folder");
    this->m_world.remove(this->at("folder"));
    const Result<AliasManager::Resolution> resolution = this->m_aliases.resolve(record);
    ASSERT_FALSE(resolution);
    EXPECT_EQ(resolution.failure().code, ErrorCode::NotFound);
}

TYPED_TEST(AliasManagerContract, resolve_removedAndAnotherMadeUnderItsName_isNotFound)
{
    // The new one gets the old one's number on ext4, so that the number alone would tell nothing.
    for (int round = 0; round < 20; ++round) {
        this->m_world.addFolder(this->at("folder"));
        const Bytes record = this->aliasFor("folder");
        this->m_world.remove(this->at("folder"));
        this->m_world.addFolder(this->at("folder"));
        EXPECT_EQ(this->resolved(record), "(not found)");
        this->m_world.remove(this->at("folder"));
    }
}

TYPED_TEST(AliasManagerContract, resolve_relativeToMissing_isNotFound)
{
    this->m_world.addFolder(this->at("folder"));
    const Result<AliasManager::Resolution> resolution =
        this->m_aliases.resolve(this->aliasFor("folder"), this->at("missing"));
    ASSERT_FALSE(resolution);
    EXPECT_EQ(resolution.failure().code, ErrorCode::NotFound);
}

TYPED_TEST(AliasManagerContract, resolve_unmountedVolume_isNotFoundUntilItIsBackElsewhere)
{
    this->m_world.addFolder(this->at("volume"));
    this->m_world.addFolder(this->at("other"));
    if (!this->m_world.addVolume(this->at("volume")))
        GTEST_SKIP() << "this machine does not let the test mount anything";
    this->m_world.addFolder(this->at("volume/folder"));
    const Bytes record = this->aliasFor("volume/folder");
    EXPECT_EQ(this->resolved(record), "volume/folder");
    this->m_world.moveVolume(this->at("volume"), this->at("other"));
    EXPECT_EQ(this->resolved(record), "other/folder");
    this->m_world.unmount(this->at("other"));
    EXPECT_EQ(this->resolved(record), "(not found)");
    this->m_world.addFolder(this->at("volume/folder"));
    EXPECT_EQ(this->resolved(record), "(not found)");
}

TEST(FakeAliasManager, failedCall_failsOnce)
{
    FakeAliasManager aliases;
    aliases.addFolder("/folder");
    aliases.failCall(1, ErrorCode::Io);
    const Result<Bytes> record = aliases.newAlias("/folder");
    ASSERT_TRUE(record);
    const Result<AliasInfo> info = aliases.copyInfo(*record);
    ASSERT_FALSE(info);
    EXPECT_EQ(info.failure().code, ErrorCode::Io);
    EXPECT_TRUE(aliases.resolve(*record));
}
