#include "Platform/Linux/LinuxAliasManager.h"

#include "Classes/Shared/inBackground.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/PrivateMounts.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <optional>

#include <fcntl.h>
#include <linux/btrfs.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

using Handles = LinuxAliasManager::Handles;

constexpr AliasSearch::Limits kPatient{1'000'000, std::chrono::minutes(1)};

/// Folders and their records on a real volume of each format, as root finds them and as anybody else does.
class AliasVolumes : public ::testing::TestWithParam<std::tuple<const char *, Handles>>
{
protected:
    void SetUp() override
    {
        if (!mount(point))
            GTEST_SKIP() << "this machine does not let the test mount " << format() << ", or cannot make it";
    }

    static std::string format() { return std::get<0>(GetParam()); }
    static bool isInAnImage() { return format() != "tmpfs" && format() != "overlay"; }

    bool mount(const Path &at)
    {
        if (format() == "tmpfs")
            return mounts.mountMemory(at);
        return format() == "overlay" ? mountOverlay(at) : mounts.mountImage(format(), at);
    }

    /// Over a volume of its own, so that nobody else takes the numbers that are given up.
    bool mountOverlay(const Path &at)
    {
        const Path layers = home.makeFolder("layers");
        if (!mounts.mountImage("ext4", layers))
            return false;
        for (const char *const layer : {"lower", "upper", "work"})
            fs::create_directory(layers / layer);
        return mounts.mountOverlay(layers / "lower", layers / "upper", layers / "work", at);
    }

    std::optional<Path> find(const Bytes &record) const
    {
        const auto resolution = inBackground([&] { return aliases.resolve(record); });
        return resolution ? std::optional(resolution->path) : std::nullopt;
    }

    Bytes recordOf(const Path &folder) const
    {
        fs::create_directories(folder);
        const Result<Bytes> record = aliases.newAlias(folder);
        EXPECT_TRUE(record) << folder;
        EXPECT_EQ(find(record.valueOr({})), folder);
        return record.valueOr({});
    }

    static ino_t numberOf(const Path &path)
    {
        struct stat status = {};
        return ::stat(path.c_str(), &status) == 0 ? status.st_ino : 0;
    }

    PrivateHome &home = PrivateHome::current();
    PrivateMounts mounts;
    LinuxAliasManager aliases{std::get<1>(GetParam()), kPatient};
    Path point = home.makeFolder("volume");
};

class AliasNamedVolumes : public AliasVolumes
{
};

class AliasSubvolumes : public AliasVolumes
{
};

std::string nameOf(const ::testing::TestParamInfo<std::tuple<const char *, Handles>> &info)
{
    return std::string(std::get<0>(info.param)) + (std::get<1>(info.param) == Handles::Try ? "_byHandle" : "_bySearch");
}

constexpr auto kHandles = {Handles::Try, Handles::DoNotTry};

} // namespace

TEST_P(AliasVolumes, renamed_isFound)
{
    const Bytes record = recordOf(point / "folder");
    fs::rename(point / "folder", point / "renamed");
    EXPECT_EQ(find(record), point / "renamed");
}

TEST_P(AliasVolumes, movedElsewhereOnItsVolume_isFound)
{
    const Bytes record = recordOf(point / "above/folder");
    fs::create_directories(point / "one/two/three");
    fs::rename(point / "above/folder", point / "one/two/three/moved");
    EXPECT_EQ(find(record), point / "one/two/three/moved");
}

TEST_P(AliasVolumes, movedToAnotherVolume_isNotFound)
{
    const Bytes record = recordOf(point / "folder");
    const Path elsewhere = home.makeFolder("elsewhere");
    fs::create_directory(elsewhere / "folder"); // what a move to another volume comes to
    fs::remove(point / "folder");
    EXPECT_EQ(find(record), std::nullopt);
}

TEST_P(AliasVolumes, anotherUnderItsNameWithItsNumber_isNotTakenForIt)
{
    const Path folder = point / "folder";
    const Bytes record = recordOf(folder);
    const ino_t number = numberOf(folder);
    constexpr int kTries = 200;
    bool isReused = false;
    for (int tries = 0; tries < kTries && !isReused; ++tries) {
        fs::remove(folder);
        fs::create_directory(folder);
        isReused = numberOf(folder) == number;
        EXPECT_EQ(find(record), std::nullopt) << tries;
    }
    EXPECT_TRUE(isReused || (format() != "ext4" && format() != "overlay")) << "these give it to the next one made";
}

TEST_P(AliasVolumes, volumeMountedElsewhere_isFoundThere)
{
    const Bytes record = recordOf(point / "folder");
    const Path other = home.makeFolder("other");
    if (isInAnImage()) {
        ASSERT_TRUE(mounts.unmount(point));
        EXPECT_EQ(find(record), std::nullopt);
        ASSERT_TRUE(mounts.mountImageAgain(format(), point, other));
    } else {
        ASSERT_TRUE(mounts.move(point, other));
    }
    EXPECT_EQ(find(record), other / "folder");
}

TEST_P(AliasNamedVolumes, volumeRenamed_isFoundAsBefore)
{
    const Bytes record = recordOf(point / "folder");
    const std::string before = aliases.copyInfo(record)->volumeName;
    const int volume = ::open(point.c_str(), O_RDONLY | O_DIRECTORY);
    ASSERT_GE(volume, 0);
    char label[FSLABEL_MAX] = "another";
    ASSERT_EQ(::ioctl(volume, FS_IOC_SETFSLABEL, label), 0) << std::strerror(errno);
    ::close(volume);
    EXPECT_EQ(find(record), point / "folder");
    EXPECT_EQ(aliases.copyInfo(record)->volumeName, before) << "a record tells what was when it was made";
    fs::rename(point / "folder", point / "renamed");
    EXPECT_EQ(find(record), point / "renamed");
}

TEST_P(AliasSubvolumes, numberOfAnotherSubvolume_isAnotherFolder)
{
    const int volume = ::open(point.c_str(), O_RDONLY | O_DIRECTORY);
    ASSERT_GE(volume, 0);
    for (const char *const name : {"first", "second"}) {
        btrfs_ioctl_vol_args arguments = {};
        std::strcpy(arguments.name, name);
        ASSERT_EQ(::ioctl(volume, BTRFS_IOC_SUBVOL_CREATE, &arguments), 0) << std::strerror(errno);
    }
    ::close(volume);
    const Bytes first = recordOf(point / "first/folder"), second = recordOf(point / "second/folder");
    ASSERT_EQ(numberOf(point / "first/folder"), numberOf(point / "second/folder"));
    fs::remove(point / "first/folder");
    EXPECT_EQ(find(first), std::nullopt);
    EXPECT_EQ(find(second), point / "second/folder");
    fs::rename(point / "second/folder", point / "second/renamed");
    EXPECT_EQ(find(second), point / "second/renamed");
    EXPECT_EQ(find(first), std::nullopt);

    const Bytes subvolume = recordOf(point / "second");
    fs::rename(point / "second", point / "third");
    EXPECT_EQ(find(subvolume), point / "third");
    EXPECT_EQ(find(second), point / "third/renamed");
}

INSTANTIATE_TEST_SUITE_P(, AliasVolumes,
                         ::testing::Combine(::testing::Values("ext4", "xfs", "btrfs", "tmpfs", "overlay"),
                                            ::testing::ValuesIn(kHandles)),
                         nameOf);
INSTANTIATE_TEST_SUITE_P(, AliasNamedVolumes,
                         ::testing::Combine(::testing::Values("ext4", "xfs", "btrfs"), ::testing::ValuesIn(kHandles)),
                         nameOf);
INSTANTIATE_TEST_SUITE_P(, AliasSubvolumes,
                         ::testing::Combine(::testing::Values("btrfs"), ::testing::ValuesIn(kHandles)), nameOf);
