#include "Classes/Shared/DVVolume.h"
#include "Classes/Shared/Log.h"
#include "Platform/Fake/FakeSystemVersion.h"
#include "Platform/Fake/FakeVolumes.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/PrivateMounts.h"

#include <gtest/gtest.h>

#include <cstddef>

static_assert(sizeof(DVVolumeInfo) == 6);
static_assert(offsetof(DVVolumeInfo, isHFSPlus) == 0 && offsetof(DVVolumeInfo, isRemovable) == 1 &&
              offsetof(DVVolumeInfo, isEjectable) == 2 && offsetof(DVVolumeInfo, isInternal) == 3 &&
              offsetof(DVVolumeInfo, isExternal) == 4 && offsetof(DVVolumeInfo, isWritable) == 5);

static bool operator==(const DVVolumeInfo &one, const DVVolumeInfo &other)
{
    return one.isHFSPlus == other.isHFSPlus && one.isRemovable == other.isRemovable &&
           one.isEjectable == other.isEjectable && one.isInternal == other.isInternal &&
           one.isExternal == other.isExternal && one.isWritable == other.isWritable;
}

static void PrintTo(const DVVolumeInfo &info, std::ostream *stream)
{
    *stream << info.isHFSPlus << info.isRemovable << info.isEjectable << info.isInternal << info.isExternal
            << info.isWritable;
}

namespace {

std::string s_logged;

class DVVolumeTest : public ::testing::Test
{
protected:
    DVVolumeTest()
    {
        s_logged.clear();
        setLogSink([](const std::string &line) { s_logged += line + "\n"; });
        volumes.volumes = {
            {"/", "hfs", Volumes::kIsOnInternalBus, Volumes::kHasJournal | Volumes::kHasActiveJournal},
            {"/Volumes/Stick", "msdos", Volumes::kIsOnExternalBus | Volumes::kIsRemovable | Volumes::kIsEjectable},
            {"/Volumes/Old", "HFS", Volumes::kIsOnInternalBus, Volumes::kHasJournal, false},
        };
        volumes.missing = {"/missing", "/gone"};
    }
    ~DVVolumeTest() override { setLogSink(nullptr); }

    FakeVolumes volumes;

private:
    Override<Volumes> m_volumes{volumes};
};

constexpr const char *kNoImages = "this machine mounts no image of this format for a test";

} // namespace

TEST_F(DVVolumeTest, volumeReferenceNumberForPath_path_isThatOfItsVolume)
{
    EXPECT_EQ(DVVolume::volumeReferenceNumberForPath("/Users"), 1);
    EXPECT_EQ(DVVolume::volumeReferenceNumberForPath("/Volumes/Stick/a"), 2);
    EXPECT_EQ(DVVolume::volumeReferenceNumberForPath("/missing"), -1);
}

TEST_F(DVVolumeTest, flags_eachVolume_areThoseOfTheBits)
{
    EXPECT_FALSE(DVVolume::fsIsVolumeEjectableForPath("/"));
    EXPECT_FALSE(DVVolume::fsIsVolumeRemovableForPath("/"));
    EXPECT_TRUE(DVVolume::fsIsVolumeInternalForPath("/"));
    EXPECT_TRUE(DVVolume::fsIsVolumeEjectableForPath("/Volumes/Stick"));
    EXPECT_TRUE(DVVolume::fsIsVolumeRemovableForPath("/Volumes/Stick"));
    EXPECT_FALSE(DVVolume::fsIsVolumeInternalForPath("/Volumes/Stick"));
    volumes.volumes[0].extendedAttributes = 1u << 0;
    EXPECT_TRUE(DVVolume::fsIsVolumeEjectableForPath("/"));
    volumes.volumes[0].extendedAttributes = 1u << 25;
    EXPECT_TRUE(DVVolume::fsIsVolumeRemovableForPath("/"));
    EXPECT_FALSE(DVVolume::fsIsVolumeEjectableForPath("/"));
    volumes.volumes[0].extendedAttributes = 1u << 21;
    EXPECT_TRUE(DVVolume::fsIsVolumeInternalForPath("/"));
    EXPECT_FALSE(DVVolume::fsIsVolumeRemovableForPath("/"));
}

TEST_F(DVVolumeTest, missingPath_everyQuestion_isNo)
{
    EXPECT_FALSE(DVVolume::fsIsHFSVolumeForPath("/missing"));
    EXPECT_FALSE(DVVolume::fsIsVolumeEjectableForPath("/missing"));
    EXPECT_FALSE(DVVolume::fsIsVolumeRemovableForPath("/missing"));
    EXPECT_FALSE(DVVolume::fsIsVolumeInternalForPath("/missing"));
    EXPECT_EQ(DVVolume::fileSystemTypeForPath("/missing"), "Unknown");
    EXPECT_FALSE(DVVolume::isHFSPlusFileSystemForPath("/missing"));
}

TEST_F(DVVolumeTest, volumeInfoForPath_eachVolume_isFilled)
{
    DVVolumeInfo info;
    ASSERT_TRUE(DVVolume::volumeInfoForPath("/Users", info));
    EXPECT_EQ(info, (DVVolumeInfo{true, false, false, true, false, true}));
    ASSERT_TRUE(DVVolume::volumeInfoForPath("/Volumes/Stick", info));
    EXPECT_EQ(info, (DVVolumeInfo{false, true, true, false, true, true}));
    ASSERT_TRUE(DVVolume::volumeInfoForPath("/Volumes/Old", info));
    EXPECT_EQ(info, (DVVolumeInfo{true, false, false, true, false, false}));
}

TEST_F(DVVolumeTest, volumeInfoForPath_missingPath_leavesTheRecord)
{
    const DVVolumeInfo before{true, true, true, true, true, true};
    DVVolumeInfo info = before;
    EXPECT_FALSE(DVVolume::volumeInfoForPath("/missing", info));
    EXPECT_EQ(info, before);
}

TEST_F(DVVolumeTest, volumeInfoForPath_writableCannotBeTold_isNoWithTheOthersFilled)
{
    DVVolumeInfo info{false, true, true, false, true, false};
    volumes.failures.failCall(3, ErrorCode::Io); // after the number, the bits and the type
    EXPECT_FALSE(DVVolume::volumeInfoForPath("/Users", info));
    EXPECT_EQ(info, (DVVolumeInfo{true, false, false, true, false, false}));
}

TEST_F(DVVolumeTest, isHFSPlusFileSystemForPath_leopardOrLater_isTheTypesName)
{
    EXPECT_TRUE(DVVolume::isHFSPlusFileSystemForPath("/"));
    EXPECT_TRUE(DVVolume::isHFSPlusFileSystemForPath("/Volumes/Old"));
    EXPECT_FALSE(DVVolume::isHFSPlusFileSystemForPath("/Volumes/Stick"));
    for (const char *const other : {"hfs+", "hfsx", "hf", ""}) {
        volumes.volumes[0].typeName = other;
        EXPECT_FALSE(DVVolume::isHFSPlusFileSystemForPath("/")) << other;
    }
}

TEST_F(DVVolumeTest, isHFSPlusFileSystemForPath_tiger_isTheFormatsNumber)
{
    FakeSystemVersion tiger(10, 4, 11);
    const Override<SystemVersion> installed(tiger);
    EXPECT_TRUE(DVVolume::isHFSPlusFileSystemForPath("/"));
    EXPECT_FALSE(DVVolume::isHFSPlusFileSystemForPath("/Volumes/Old")) << "the fake's number for it is not 0";
    EXPECT_FALSE(DVVolume::isHFSPlusFileSystemForPath("/missing"));
}

TEST_F(DVVolumeTest, fsIsHFSVolumeForPath_formatNumberZero_isYes)
{
    EXPECT_TRUE(DVVolume::fsIsHFSVolumeForPath("/"));
    EXPECT_FALSE(DVVolume::fsIsHFSVolumeForPath("/Volumes/Stick"));
}

TEST_F(DVVolumeTest, areInSameVolumePath_paths_areCompared)
{
    EXPECT_TRUE(DVVolume::areInSameVolumePath("/a", "/b"));
    EXPECT_FALSE(DVVolume::areInSameVolumePath("/a", "/Volumes/Stick"));
    EXPECT_FALSE(DVVolume::areInSameVolumePath("/a", "/missing"));
    EXPECT_TRUE(DVVolume::areInSameVolumePath("/missing", "/gone"));
}

TEST_F(DVVolumeTest, volumeCapabilitiesForVolumeAtPath_volume_isItsWord)
{
    EXPECT_EQ(DVVolume::volumeCapabilitiesForVolumeAtPath("/"), 0x18u);
    EXPECT_EQ(s_logged, "");
}

TEST_F(DVVolumeTest, volumeCapabilitiesForVolumeAtPath_missing_isLoggedAnd0)
{
    EXPECT_EQ(DVVolume::volumeCapabilitiesForVolumeAtPath("/missing"), 0u);
    EXPECT_EQ(s_logged, "getattrlist failed, errno: 2 [No such file or directory]\n");
}

TEST_F(DVVolumeTest, exchangedataSupportedInVolumeForPath_activeJournal_isYes)
{
    EXPECT_TRUE(DVVolume::exchangedataSupportedInVolumeForPath("/Users/a"));
    EXPECT_TRUE(DVVolume::exchangedataSupportedInVolumeForCPath("/Users/a"));
    EXPECT_FALSE(DVVolume::exchangedataSupportedInVolumeForPath("/Volumes/Stick"));
    EXPECT_FALSE(DVVolume::exchangedataSupportedInVolumeForPath("/Volumes/Old")) << "a journal that is not in use";
    EXPECT_EQ(s_logged, "");
}

TEST_F(DVVolumeTest, exchangedataSupportedInVolumeForPath_missing_isLoggedAndNo)
{
    EXPECT_FALSE(DVVolume::exchangedataSupportedInVolumeForPath("/missing"));
    EXPECT_EQ(s_logged, "getattrlist failed, errno: 2 [No such file or directory]\n");
}

TEST(DVVolume, thisMachine_homeAndMemory_areTwoVolumes)
{
    const Path folder = PrivateHome::current().makeFolder("volumes");
    PrivateMounts mounts;
    if (!mounts.mountMemory(folder))
        GTEST_SKIP() << "this machine gives a test no mounts of its own";
    DVVolumeInfo info;
    ASSERT_TRUE(DVVolume::volumeInfoForPath(folder, info));
    EXPECT_EQ(info, (DVVolumeInfo{false, false, false, true, false, true}));
    EXPECT_EQ(DVVolume::fileSystemTypeForPath(folder), "tmpfs");
    EXPECT_FALSE(DVVolume::areInSameVolumePath(folder, folder.parent_path()));
    EXPECT_TRUE(DVVolume::areInSameVolumePath(folder / "missing", "/also/missing"));
}

TEST(DVVolume, btrfsInAnImage_isHFSPlusRemovableAndWithoutJournal)
{
    const Path folder = PrivateHome::current().makeFolder("volumes");
    PrivateMounts mounts;
    if (!mounts.mountImage("btrfs", folder))
        GTEST_SKIP() << kNoImages;
    DVVolumeInfo info;
    ASSERT_TRUE(DVVolume::volumeInfoForPath(folder, info));
    EXPECT_EQ(info, (DVVolumeInfo{true, true, true, false, false, true}));
    EXPECT_FALSE(DVVolume::exchangedataSupportedInVolumeForPath(folder));
}

TEST(DVVolume, ext4InAnImage_hasAnActiveJournal)
{
    const Path folder = PrivateHome::current().makeFolder("volumes");
    PrivateMounts mounts;
    if (!mounts.mountImage("ext4", folder))
        GTEST_SKIP() << kNoImages;
    std::filesystem::create_directory(folder / "below");
    EXPECT_TRUE(DVVolume::exchangedataSupportedInVolumeForPath(folder / "below"));
    EXPECT_FALSE(DVVolume::isHFSPlusFileSystemForPath(folder));
}
