#include "Platform/Linux/MountTable.h"

#include "Tests/Support/PrivateHome.h"

#include <gtest/gtest.h>

namespace fs = std::filesystem;

static MountTable example(const Path &trigger = "/net")
{
    return MountTable::parse("22 1 254:0 / / rw,relatime shared:1 - ext4 /dev/vda rw\n"
                             "30 22 0:25 / /mnt/with\\040blank\\134 rw shared:2 master:3 - tmpfs none rw\n"
                             "31 22 0:26 /sub /mnt rw - btrfs /dev/vdb rw,subvol=/sub\n"
                             "cut off\n"
                             "32 22 0:27 / " +
                             trigger.native() +
                             " rw - autofs systemd-1 rw\n"
                             "33 31 8:1 / /mnt rw - xfs /dev/sda1 rw\n");
}

TEST(MountTable, parse_lines_readsTheirFields)
{
    const MountTable table = example();
    ASSERT_EQ(table.mounts().size(), 5u);
    EXPECT_EQ(table.withId(30)->point, "/mnt/with blank\\");
    EXPECT_EQ(table.withId(30)->type, "tmpfs");
    EXPECT_EQ(table.withId(31)->root, "/sub");
    EXPECT_EQ(table.withId(31)->parent, 22u);
    EXPECT_EQ(table.withId(31)->device, "0:26");
    EXPECT_EQ(table.withId(31)->volumeOptions, "rw,subvol=/sub");
    EXPECT_EQ(table.withId(33)->source, "/dev/sda1");
    EXPECT_EQ(table.withId(99), nullptr);
}

TEST(MountTable, holding_path_isTheUppermostMountAboveIt)
{
    const MountTable table = example();
    EXPECT_EQ(table.holding("/mnt/file")->id, 33u);
    EXPECT_EQ(table.holding("/mntx")->id, 22u);
    EXPECT_EQ(table.holding("/mnt/with blank\\/a")->id, 30u);
    EXPECT_EQ(table.holding("/")->id, 22u);
    EXPECT_EQ(table.holding("relative"), nullptr);
    EXPECT_TRUE(table.isMountPoint("/mnt"));
    EXPECT_FALSE(table.isMountPoint("/mnt/file"));
}

TEST(MountTable, generation_readAgain_isAnother)
{
    const Result<MountTable> first = MountTable::read(), second = MountTable::read();
    ASSERT_TRUE(first && second);
    EXPECT_NE(first->generation(), second->generation()) << "another volume may be mounted in the same words";
}

TEST(MountTable, mayHang_whatAnotherMachineOrProcessServes_does)
{
    const auto mountOf = [](const std::string &type) {
        return MountTable::parse("30 22 0:25 / /mnt rw - " + type + " source rw\n").mounts().front();
    };
    for (const char *const type : {"fuse", "fuse.sshfs", "fuseblk"}) {
        EXPECT_TRUE(mountOf(type).isFuse()) << type;
        EXPECT_TRUE(mountOf(type).mayHang()) << type;
    }
    for (const char *const type : {"nfs4", "virtiofs", "cifs", "lustre"}) {
        EXPECT_FALSE(mountOf(type).isFuse()) << type;
        EXPECT_TRUE(mountOf(type).mayHang()) << type;
    }
    for (const char *const type : {"ext4", "fusectl", "btrfs"}) {
        EXPECT_FALSE(mountOf(type).isFuse()) << type;
        EXPECT_FALSE(mountOf(type).mayHang()) << type;
    }
}

TEST(MountTable, read_thisMachine_hasItsRoot)
{
    const Result<MountTable> table = MountTable::read();
    ASSERT_TRUE(table);
    ASSERT_NE(table->holding("/"), nullptr);
    EXPECT_TRUE(table->isMountPoint("/"));
}

TEST(MountTable, resolveWithoutMounting_links_areFollowedButTheLast)
{
    const Path root = PrivateHome::current().makeFolder("links");
    fs::create_directories(root / "real/sub");
    fs::create_directory_symlink(root / "real", root / "absolute");
    fs::create_directory_symlink("real/../real/sub", root / "relative");
    const MountTable table = example();
    EXPECT_EQ(table.resolveWithoutMounting(root / "absolute/sub"), root / "real/sub");
    EXPECT_EQ(table.resolveWithoutMounting(root / "relative/x/y"), root / "real/sub/x/y");
    EXPECT_EQ(table.resolveWithoutMounting(root / "./real/../absolute"), root / "absolute");
    EXPECT_EQ(table.resolveWithoutMounting("relative"), std::nullopt);
}

TEST(MountTable, resolveWithoutMounting_linkToItself_isNothing)
{
    const Path root = PrivateHome::current().makeFolder("links");
    fs::create_directory_symlink("loop", root / "loop");
    EXPECT_EQ(example().resolveWithoutMounting(root / "loop/x"), std::nullopt);
}

TEST(MountTable, resolveWithoutMounting_automounterInTheWay_isNothing)
{
    const Path root = PrivateHome::current().makeFolder("links");
    fs::create_directory_symlink("/net/host", root / "far");
    const MountTable table = example();
    EXPECT_EQ(table.resolveWithoutMounting("/net/host/file"), std::nullopt);
    EXPECT_EQ(table.resolveWithoutMounting(root / "far/file"), std::nullopt);
    EXPECT_EQ(table.resolveWithoutMounting(root / "far"), root / "far");
}
