#include "Classes/PrefPane/AddFoldersRequest.h"

#include "Platform/Fake/FakeVolumes.h"
#include "Tests/Support/FuseMount.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/PrivateMounts.h"

#include <gmock/gmock.h>

namespace fs = std::filesystem;

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

using Verdict = AddFoldersRequest::Verdict;

const std::string kHome = "/home/ann";
const std::string kElsewhere = "/srv/data";
const std::string kInHome = "/home/ann/Documents";
const std::string kOnOtherDisk = "/Volumes/Disk/data";

/// One row for each answer to: was the query successful, is it HFS Plus, is it removable. In a row one letter for each
/// answer to: ejectable, internal, external, writable, counted in binary.
///   a  accepted, but warned about below the folder of volumes
///   h  accepted in the user's home, dropped elsewhere
///   d  dropped
///   w  warned about
struct Row
{
    bool isInfoWhole, isHFSPlus, isRemovable;
    const char *letters;
};
constexpr Row kTable[] = {
    {false, false, false, "wwwwwwwwwwwwwwww"}, {false, false, true, "dddddddddddddddd"},
    {false, true, false, "wwwwwwwwwwwwwwww"},  {false, true, true, "dddddddddddddddd"},
    {true, false, false, "wwwwwwwwwwwwwwww"},  {true, false, true, "dddddddddhdddddd"},
    {true, true, false, "wwwwwawawwwwwawa"},   {true, true, true, "dddddddddhdddddd"},
};

Verdict expected(char letter, const std::string &folder)
{
    switch (letter) {
    case 'a':
        return folder == kOnOtherDisk ? Verdict::Warned : Verdict::Accepted;
    case 'h':
        return folder == kInHome ? Verdict::Accepted : Verdict::Dropped;
    case 'd':
        return Verdict::Dropped;
    default:
        return Verdict::Warned;
    }
}

/// Two volumes made to order beside the boot volume.
class AddFoldersRequestTest : public ::testing::Test
{
protected:
    AddFoldersRequestTest()
    {
        FakeVolumes::Volume stick{.mountPoint = "/stick"};
        stick.extendedAttributes = Volumes::kIsRemovable | Volumes::kIsEjectable | Volumes::kIsOnExternalBus;
        FakeVolumes::Volume ext4{.mountPoint = "/ext4", .typeName = "ext4"};
        volumes.volumes = {{.mountPoint = "/"}, stick, ext4};
    }

    FakeVolumes volumes;
    Override<Volumes> installedVolumes{volumes};
};

/// Real volumes, mounted beside the home folder and in it.
class AddFoldersFromRealVolumes : public ::testing::Test
{
protected:
    static Verdict verdict(const fs::path &folder)
    {
        const AddFoldersRequest request = AddFoldersRequest::classify({folder.native()});
        if (request.accepted.empty())
            return Verdict::Dropped;
        return request.warned.empty() ? Verdict::Accepted : Verdict::Warned;
    }
    /// What the volume of a folder says, which must be everything.
    static DVVolumeInfo infoOf(const fs::path &folder)
    {
        DVVolumeInfo info;
        EXPECT_TRUE(DVVolume::volumeInfoForPath(folder, info)) << folder;
        return info;
    }
    void expectImage(const char *format)
    {
        if (!mounts.mountImage(format, point))
            GTEST_SKIP() << "this machine mounts no image of this format for a test";
        EXPECT_EQ(verdict(point), Verdict::Dropped) << "an image can be taken out";
        fs::create_directories(inHome);
        ASSERT_TRUE(mounts.bind(point, inHome));
        EXPECT_EQ(verdict(inHome), Verdict::Accepted) << "unless the home is in it";
        ASSERT_TRUE(mounts.makeReadOnly(inHome));
        EXPECT_EQ(verdict(inHome), Verdict::Dropped);
    }

    const fs::path folder = PrivateHome::current().makeFolder("volumes");
    const fs::path point = PrivateHome::current().makeFolder("volumes/point");
    const fs::path inHome = PrivateHome::current().home() / "image";
    PrivateMounts mounts;
};

constexpr const char *kNoMounts = "this machine gives a test no mounts of its own";

} // namespace

TEST(AddFoldersVerdict, everyCombination_isAsTheTableSays)
{
    for (const Row &row : kTable) {
        ASSERT_EQ(std::string(row.letters).size(), 16U);
        for (unsigned bits = 0; bits < 16; ++bits) {
            DVVolumeInfo info;
            info.isHFSPlus = row.isHFSPlus;
            info.isRemovable = row.isRemovable;
            info.isEjectable = bits & 8;
            info.isInternal = bits & 4;
            info.isExternal = bits & 2;
            info.isWritable = bits & 1;
            for (const std::string &folder : {kElsewhere, kInHome, kOnOtherDisk})
                EXPECT_EQ(AddFoldersRequest::verdictOn(folder, row.isInfoWhole, info, kHome),
                          expected(row.letters[bits], folder))
                    << folder << ' ' << row.isInfoWhole << row.isHFSPlus << row.isRemovable << ' ' << bits;
        }
    }
}

TEST(AddFoldersVerdict, foldersOfOtherVolumes_areThoseWhereTheSystemMountsThem)
{
    DVVolumeInfo boot;
    boot.isHFSPlus = boot.isInternal = boot.isWritable = true;
    for (const char *folder : {"/Volumes/a", "/media/ann/a", "/run/media/ann/a", "/mnt/a"})
        EXPECT_EQ(AddFoldersRequest::verdictOn(folder, true, boot, kHome), Verdict::Warned) << folder;
    for (const char *folder : {"/Volumes", "/Volumes2/a", "/run/other", "/home/media/a", "/mntx"})
        EXPECT_EQ(AddFoldersRequest::verdictOn(folder, true, boot, kHome), Verdict::Accepted) << folder;
}

TEST(AddFoldersVerdict, homeIsComparedLetterByLetter_aNameThatGoesOnCountsAsInIt)
{
    DVVolumeInfo image;
    image.isWritable = image.isRemovable = image.isEjectable = true;
    for (const char *folder : {"/home/ann", "/home/ann/", "/home/ann/a", "/home/annette", "/home/annette/a"})
        EXPECT_EQ(AddFoldersRequest::verdictOn(folder, true, image, kHome), Verdict::Accepted) << folder;
    for (const char *folder : {"/home/an", "/home/Ann", "/home/bob/home/ann", "home/ann"})
        EXPECT_EQ(AddFoldersRequest::verdictOn(folder, true, image, kHome), Verdict::Dropped) << folder;
}

TEST(AddFoldersVerdict, noHome_nothingLiesInIt)
{
    DVVolumeInfo image;
    image.isWritable = image.isRemovable = image.isEjectable = true;
    EXPECT_EQ(AddFoldersRequest::verdictOn("/srv/data", true, image, {}), Verdict::Dropped);
}

TEST_F(AddFoldersRequestTest, mixture_isSortedInItsOrder)
{
    const auto request = AddFoldersRequest::classify({"/stick/a", "/srv/b", "/ext4/c", "/Volumes/d", "/srv/b"});
    EXPECT_THAT(request.chosen, ElementsAre("/stick/a", "/srv/b", "/ext4/c", "/Volumes/d", "/srv/b"));
    EXPECT_THAT(request.accepted, ElementsAre("/srv/b", "/ext4/c", "/Volumes/d", "/srv/b"));
    EXPECT_THAT(request.warned, ElementsAre("/ext4/c", "/Volumes/d"));
    EXPECT_TRUE(request.hasDropped());
}

TEST_F(AddFoldersRequestTest, rejectWarned_leavesTheOthers)
{
    auto request = AddFoldersRequest::classify({"/srv/b", "/ext4/c", "/ext4/c", "/Volumes/d"});
    EXPECT_FALSE(request.hasDropped());
    request.rejectWarned();
    EXPECT_THAT(request.accepted, ElementsAre("/srv/b"));
}

TEST_F(AddFoldersRequestTest, queryThatFails_doesNotSpeakForTheVolumeBefore)
{
    volumes.missing = {"/gone"};
    const auto request = AddFoldersRequest::classify({"/stick/a", "/gone"});
    EXPECT_THAT(request.accepted, ElementsAre("/gone"));
    EXPECT_THAT(request.warned, ElementsAre("/gone"));
}

TEST_F(AddFoldersRequestTest, bootVolumeThatIsReadOnly_isWarnedAbout)
{
    EXPECT_THAT(AddFoldersRequest::classify({"/srv/b"}).warned, IsEmpty());
    volumes.volumes.front().isWritable = false;
    const auto request = AddFoldersRequest::classify({"/srv/b"});
    EXPECT_THAT(request.warned, ElementsAre("/srv/b"));
    EXPECT_THAT(request.accepted, ElementsAre("/srv/b"));
}

TEST_F(AddFoldersRequestTest, onlyWritingUnknown_removableOnesAreDropped)
{
    // Number, attributes and type are asked for first; whether it is writable comes last.
    volumes.failures.failCall(3, ErrorCode::Io);
    EXPECT_THAT(AddFoldersRequest::classify({"/stick/a"}).accepted, IsEmpty());
}

TEST_F(AddFoldersFromRealVolumes, ext4Image_isDroppedUnlessTheHomeIsInIt)
{
    expectImage("ext4");
}

TEST_F(AddFoldersFromRealVolumes, xfsImage_isDroppedUnlessTheHomeIsInIt)
{
    expectImage("xfs");
}

TEST_F(AddFoldersFromRealVolumes, btrfsImage_isDroppedUnlessTheHomeIsInIt)
{
    expectImage("btrfs");
}

TEST_F(AddFoldersFromRealVolumes, memoryVolume_isWarnedAbout)
{
    if (!mounts.mountMemory(point))
        GTEST_SKIP() << kNoMounts;
    const DVVolumeInfo info = infoOf(point);
    EXPECT_TRUE(info.isWritable && info.isInternal && !info.isHFSPlus && !info.isRemovable);
    EXPECT_EQ(verdict(point), Verdict::Warned);
}

TEST_F(AddFoldersFromRealVolumes, readOnlyMount_isWarnedAbout)
{
    const fs::path origin = PrivateHome::current().makeFolder("origin");
    if (!mounts.mountMemory(origin) || !mounts.bind(origin, point) || !mounts.makeReadOnly(point))
        GTEST_SKIP() << kNoMounts;
    EXPECT_TRUE(infoOf(origin).isWritable);
    EXPECT_FALSE(infoOf(point).isWritable);
    EXPECT_EQ(verdict(point), Verdict::Warned);
}

TEST_F(AddFoldersFromRealVolumes, volumeThatAProgramServes_isWarnedAbout)
{
    FuseMount program;
    if (!program.mount(mounts, point))
        GTEST_SKIP() << "this machine lets no program of a test serve a volume";
    ASSERT_TRUE(fs::is_directory(point));
    EXPECT_EQ(DVVolume::fileSystemTypeForPath(point), "fuse");
    const DVVolumeInfo info = infoOf(point);
    EXPECT_FALSE(info.isInternal || info.isExternal || info.isHFSPlus || info.isRemovable);
    EXPECT_EQ(verdict(point), Verdict::Warned);
}

TEST_F(AddFoldersFromRealVolumes, folderThatVanishes_isWarnedAbout)
{
    if (!mounts.mountImage("ext4", point))
        GTEST_SKIP() << "this machine mounts no image of this format for a test";
    fs::create_directories(point / "folder");
    ASSERT_EQ(verdict(point / "folder"), Verdict::Dropped);
    fs::remove(point / "folder");
    EXPECT_EQ(verdict(point / "folder"), Verdict::Warned);
}
