#include "Platform/Linux/LinuxVolumes.h"

#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/PrivateMounts.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <fstream>

#include <fcntl.h>
#include <linux/btrfs.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

class LinuxVolumesTest : public ::testing::Test
{
protected:
    LinuxVolumesTest()
    {
        for (const char *const name : {"inside", "point", "lower", "upper", "work"})
            fs::create_directory(folder / name);
        std::ofstream(folder / "file") << "content";
    }

    std::int16_t number(const Path &path) const { return volumes.referenceNumber(path).valueOr(-99); }

    /// Whether the kernel renames a file in one of the folders to a name in the other.
    static bool canRename(const Path &from, const Path &to)
    {
        std::ofstream(from / "moved") << "content";
        const bool isDone = ::rename((from / "moved").c_str(), (to / "moved").c_str()) == 0;
        EXPECT_TRUE(isDone || errno == EXDEV) << errno;
        return isDone;
    }
    std::uint32_t attributes(const Path &path) const
    {
        return volumes.extendedAttributes(number(path)).valueOr(0xFFFFFFFF);
    }

    const Path folder = PrivateHome::current().makeFolder("volumes");
    const Path point = folder / "point";
    PrivateMounts mounts;
    const LinuxVolumes volumes;
};

constexpr std::uint32_t kImage = Volumes::kIsRemovable | Volumes::kIsEjectable;
constexpr std::uint32_t kJournal = Volumes::kHasJournal | Volumes::kHasActiveJournal;
constexpr const char *kNoMounts = "this machine gives a test no mounts of its own";
constexpr const char *kNoImages = "this machine mounts no image of this format for a test";

} // namespace

TEST_F(LinuxVolumesTest, referenceNumber_sameFolderMountedTwice_isAnotherAsRenameHasIt)
{
    if (!mounts.bind(folder / "inside", point))
        GTEST_SKIP() << kNoMounts;
    EXPECT_NE(number(point), number(folder / "inside"));
    EXPECT_FALSE(canRename(point, folder / "inside"));
    EXPECT_EQ(number(folder), number(folder / "inside"));
    EXPECT_TRUE(canRename(folder, folder / "inside"));
}

TEST_F(LinuxVolumesTest, referenceNumber_link_isThatOfItsTarget)
{
    if (!mounts.mountMemory(point))
        GTEST_SKIP() << kNoMounts;
    fs::create_symlink("point", folder / "link");
    fs::create_symlink("nowhere", folder / "dangling");
    EXPECT_EQ(number(folder / "link"), number(point));
    EXPECT_EQ(volumes.mountPoint(folder / "link").valueOr({}), point);
    EXPECT_FALSE(volumes.referenceNumber(folder / "dangling"));
}

TEST_F(LinuxVolumesTest, extendedAttributes_volumeThatWasUnmounted_areNotFound)
{
    if (!mounts.mountMemory(point))
        GTEST_SKIP() << kNoMounts;
    const std::int16_t gone = number(point);
    EXPECT_TRUE(volumes.extendedAttributes(gone));
    ASSERT_TRUE(mounts.unmount(point));
    EXPECT_FALSE(volumes.extendedAttributes(gone));
    EXPECT_EQ(number(point), number(folder));
    ASSERT_TRUE(mounts.bind(folder / "inside", point)); // the kernel gives it the same mount number
    EXPECT_FALSE(volumes.extendedAttributes(gone));
}

TEST_F(LinuxVolumesTest, isWritable_readOnlyMountOfAWritableVolume_isFalse)
{
    if (!mounts.bind(folder / "inside", point) || !mounts.makeReadOnly(point))
        GTEST_SKIP() << kNoMounts;
    EXPECT_FALSE(volumes.isWritable(point).valueOr(true));
    EXPECT_TRUE(volumes.isWritable(folder / "inside").valueOr(false));
}

TEST_F(LinuxVolumesTest, isWritable_folderWithoutPermission_isTrue)
{
    fs::permissions(folder / "inside", fs::perms::owner_read | fs::perms::owner_exec);
    EXPECT_TRUE(volumes.isWritable(folder / "inside").valueOr(false));
}

TEST_F(LinuxVolumesTest, overlay_itsLayers_areOneVolume)
{
    if (!mounts.mountMemory(folder / "upper"))
        GTEST_SKIP() << kNoMounts;
    fs::create_directories(folder / "lower/below");
    std::ofstream(folder / "lower/below/file") << "content";
    fs::create_directory(folder / "upper/u");
    fs::create_directory(folder / "upper/w");
    if (!mounts.mountOverlay(folder / "lower", folder / "upper/u", folder / "upper/w", point))
        GTEST_SKIP() << "this machine lays no folder over another for a test";
    EXPECT_EQ(number(point), number(point / "below"));
    EXPECT_EQ(number(point), number(point / "below/file"));
    EXPECT_TRUE(canRename(point / "below", point));
    EXPECT_EQ(volumes.typeName(point).valueOr({}), "overlay");
    EXPECT_EQ(attributes(point), Volumes::kIsOnInternalBus) << "its upper layer is in memory";
}

TEST_F(LinuxVolumesTest, ext4InAnImage_isRemovableAndHasItsJournal)
{
    if (!mounts.mountImage("ext4", point))
        GTEST_SKIP() << kNoImages;
    EXPECT_EQ(volumes.typeName(point).valueOr({}), "ext4");
    EXPECT_EQ(attributes(point), kImage);
    EXPECT_EQ(volumes.formatCapabilities(point).valueOr(99), kJournal);
}

TEST_F(LinuxVolumesTest, ext4WithoutAJournal_hasNone)
{
    if (!mounts.mountImage("ext4", point, "-O ^has_journal"))
        GTEST_SKIP() << kNoImages;
    EXPECT_EQ(volumes.formatCapabilities(point).valueOr(99), 0u);
}

TEST_F(LinuxVolumesTest, xfsInAnImage_hasAJournal)
{
    if (!mounts.mountImage("xfs", point))
        GTEST_SKIP() << kNoImages;
    EXPECT_EQ(volumes.typeName(point).valueOr({}), "xfs");
    EXPECT_EQ(volumes.formatCapabilities(point).valueOr(99), kJournal);
}

TEST_F(LinuxVolumesTest, btrfsInAnImage_isOfThePlatformsFormat)
{
    if (!mounts.mountImage("btrfs", point))
        GTEST_SKIP() << kNoImages;
    EXPECT_EQ(volumes.typeName(point).valueOr({}), "hfs");
    EXPECT_EQ(volumes.formatId(number(point)).valueOr(99), 0);
    EXPECT_EQ(attributes(point), kImage);
    EXPECT_EQ(volumes.formatCapabilities(point).valueOr(99), 0u);
}

TEST_F(LinuxVolumesTest, btrfsSubvolume_hasANumberOfItsOwnAsRenameHasIt)
{
    if (!mounts.mountImage("btrfs", point))
        GTEST_SKIP() << kNoImages;
    btrfs_ioctl_vol_args arguments = {};
    std::strcpy(arguments.name, "sub");
    const int directory = ::open(point.c_str(), O_RDONLY | O_DIRECTORY);
    ASSERT_EQ(::ioctl(directory, BTRFS_IOC_SUBVOL_CREATE, &arguments), 0) << errno;
    ::close(directory);
    EXPECT_NE(number(point / "sub"), number(point));
    EXPECT_FALSE(canRename(point / "sub", point));
    EXPECT_EQ(volumes.typeName(point / "sub").valueOr({}), "hfs");
    EXPECT_EQ(attributes(point / "sub"), kImage);
    EXPECT_EQ(volumes.mountPoint(point / "sub").valueOr({}), point);
}
