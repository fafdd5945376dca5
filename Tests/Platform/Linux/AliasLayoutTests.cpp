// What is written, read by the published layout alone.
#include "Classes/Shared/inBackground.h"
#include "Platform/Linux/LinuxAliasManager.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/PrivateMounts.h"
#include "Tests/Support/PublishedAliasReader.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>

#include <fcntl.h>
#include <sys/stat.h>

namespace fs = std::filesystem;
using ::testing::ElementsAreArray;
using ::testing::StartsWith;

static constexpr std::int64_t kFrom1904To1970 = 2082844800;

namespace {

class AliasLayout : public ::testing::Test
{
protected:
    PublishedAliasReader read(const Path &target, const Path &relativeTo = {}) const
    {
        const Result<Bytes> record = m_aliases.newAlias(target, relativeTo);
        EXPECT_TRUE(record) << record.failure().context;
        return *PublishedAliasReader::read(*record); // a crash of the test where it is none
    }
    static std::uint32_t numberOf(const Path &path)
    {
        struct stat status = {};
        EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
        return std::uint32_t(status.st_ino);
    }
    /// When it was made, else changed; in seconds since 1904.
    static std::uint64_t dateOf(const Path &path)
    {
        struct statx status = {};
        EXPECT_EQ(::statx(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW, STATX_BTIME | STATX_MTIME, &status), 0);
        const bool hasBirth = (status.stx_mask & STATX_BTIME) != 0;
        return std::uint64_t((hasBirth ? status.stx_btime : status.stx_mtime).tv_sec + kFrom1904To1970);
    }

    LinuxAliasManager m_aliases{LinuxAliasManager::Handles::DoNotTry};
    Path m_root = fs::canonical(PrivateHome::current().makeFolder("layout"));
};

} // namespace

TEST_F(AliasLayout, folder_isAsPublished)
{
    const Path folder = m_root / "Enclosing/Some Folder";
    fs::create_directories(folder);
    const PublishedAliasReader alias = read(folder);
    EXPECT_TRUE(alias.isFolder());
    EXPECT_EQ(alias.oldTargetName(), "Some Folder");
    EXPECT_EQ(alias.name(14), u"Some Folder");
    EXPECT_EQ(alias.targetID(), numberOf(folder));
    EXPECT_EQ(alias.parentFolderID(), numberOf(folder.parent_path()));
    EXPECT_EQ(alias.tag(0), "Enclosing");
    EXPECT_EQ(alias.fullPath(), folder.native());
    EXPECT_EQ(alias.targetDate(), dateOf(folder));
    EXPECT_EQ(alias.seconds(17), dateOf(folder));
    EXPECT_EQ(alias.creatorAndType(), std::string(8, '\0'));
    EXPECT_EQ(alias.levelsFrom(), -1);
    EXPECT_EQ(alias.levelsTo(), -1);
    EXPECT_EQ(alias.reserved(), std::string(10, '\0'));
    for (const int tag : {0, 1, 2, 14, 15, 16, 17, 18, 19})
        EXPECT_EQ(alias.count(tag), 1) << tag;
}

TEST_F(AliasLayout, volume_isAsPublished)
{
    fs::create_directory(m_root / "folder");
    const PublishedAliasReader alias = read(m_root / "folder");
    const std::string mountPoint = alias.tag(19);
    ASSERT_TRUE(fs::is_directory(mountPoint));
    EXPECT_EQ(alias.seconds(16), alias.volumeDate());
    const auto name = alias.name(15);
    ASSERT_TRUE(name && !name->empty());
    if (!std::ranges::all_of(*name, [](char16_t unit) { return unit < 0x80; }))
        GTEST_SKIP() << "the volume of the temporary folder has a name that is not ASCII";
    const std::string volume(name->begin(), name->end());
    EXPECT_EQ(alias.oldVolumeName(), volume.substr(0, 27));
    EXPECT_THAT(alias.tag(2), StartsWith(volume + ":"));
    std::string colons = alias.tag(2).substr(volume.size() + 1);
    std::ranges::replace(colons, ':', '/');
    EXPECT_EQ(colons, alias.tag(18)) << "the same path, in the old way";
    std::vector<std::uint32_t> enclosing;
    for (Path above = m_root; above != mountPoint && above.has_relative_path(); above = above.parent_path())
        enclosing.push_back(numberOf(above));
    EXPECT_THAT(alias.numbers(1), ElementsAreArray(enclosing));
}

TEST_F(AliasLayout, file_isAsPublished)
{
    std::ofstream(m_root / "file.txt") << "content";
    const PublishedAliasReader alias = read(m_root / "file.txt");
    EXPECT_FALSE(alias.isFolder());
    EXPECT_EQ(alias.oldTargetName(), "file.txt");
    EXPECT_EQ(alias.fullPath(), (m_root / "file.txt").native());
    EXPECT_EQ(alias.targetID(), numberOf(m_root / "file.txt"));
}

TEST_F(AliasLayout, nameThatIsPartlyMacRoman_isWholeInUnicode)
{
    fs::create_directory(m_root / "Über \xE6\x97\xA5");
    const PublishedAliasReader alias = read(m_root / "Über \xE6\x97\xA5");
    EXPECT_EQ(alias.oldTargetName(), "\x86"
                                     "ber ?");
    EXPECT_EQ(alias.name(14), u"Über \u65E5");
    EXPECT_THAT(alias.fullPath(), ::testing::EndsWith("/Über \xE6\x97\xA5"));
}

TEST_F(AliasLayout, longName_isCutInTheOldFieldAlone)
{
    const std::string name(200, 'n');
    fs::create_directory(m_root / name);
    const PublishedAliasReader alias = read(m_root / name);
    EXPECT_EQ(alias.oldTargetName(), std::string(63, 'n'));
    EXPECT_EQ(alias.name(14), std::u16string(200, u'n'));
    EXPECT_EQ(alias.fullPath(), (m_root / name).native());
}

TEST_F(AliasLayout, volumesTop_hasThePathOfItsMountPoint)
{
    PrivateMounts mounts;
    fs::create_directory(m_root / "volume");
    if (!mounts.mountMemory(m_root / "volume"))
        GTEST_SKIP() << "this machine does not let the test mount anything";
    const PublishedAliasReader top = read(m_root / "volume");
    EXPECT_EQ(top.tag(19), (m_root / "volume").native());
    EXPECT_EQ(top.tag(18), "");
    EXPECT_EQ(top.name(14), top.name(15)) << "it is named after its volume";
    EXPECT_THAT(top.tag(2), StartsWith(top.oldVolumeName()));
    EXPECT_TRUE(top.numbers(1).empty());

    fs::create_directory(m_root / "volume/folder");
    const PublishedAliasReader below = read(m_root / "volume/folder");
    EXPECT_EQ(below.tag(18), "folder");
    EXPECT_THAT(below.tag(0), StartsWith(below.oldVolumeName())) << "which may be cut";
    EXPECT_EQ(below.parentFolderID(), numberOf(m_root / "volume"));
}

TEST_F(AliasLayout, relativeAlias_tellsTheLevels)
{
    fs::create_directories(m_root / "common/one/two/from");
    fs::create_directories(m_root / "common/target");
    const PublishedAliasReader alias = read(m_root / "common/target", m_root / "common/one/two/from");
    EXPECT_EQ(alias.levelsFrom(), 3);
    EXPECT_EQ(alias.levelsTo(), 1);
}

TEST_F(AliasLayout, recordBroughtUpToDate_isAsPublished)
{
    fs::create_directories(m_root / "old place/before");
    fs::create_directories(m_root / "new place");
    const Bytes record = *m_aliases.newAlias(m_root / "old place/before");
    fs::rename(m_root / "old place/before", m_root / "new place/after");
    const auto resolution = inBackground([&] { return m_aliases.resolve(record); });
    ASSERT_TRUE(resolution);
    const auto alias = PublishedAliasReader::read(resolution->record);
    ASSERT_TRUE(alias);
    EXPECT_EQ(alias->oldTargetName(), "after");
    EXPECT_EQ(alias->name(14), u"after");
    EXPECT_EQ(alias->tag(0), "new place");
    EXPECT_EQ(alias->fullPath(), (m_root / "new place/after").native());
    EXPECT_EQ(alias->targetID(), numberOf(m_root / "new place/after"));
    EXPECT_EQ(alias->parentFolderID(), numberOf(m_root / "new place"));
    EXPECT_EQ(alias->count(14), 1);
}
