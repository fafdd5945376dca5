#include "Platform/Linux/VolumeMedium.h"

#include "Tests/Platform/Linux/MadeUpSystem.h"
#include "Tests/Support/PrivateHome.h"

#include <gtest/gtest.h>

#include <fstream>

static void PrintTo(const Connection &connection, std::ostream *stream)
{
    *stream << (connection.isRemovable ? "removable " : "") << (connection.isEjectable ? "ejectable " : "")
            << (connection.isInternal ? "internal " : "") << (connection.isExternal ? "external" : "");
}

namespace {

constexpr Connection kInternal{false, false, true, false};
constexpr Connection kExternal{false, false, false, true};
constexpr Connection kStick{true, true, false, true};
constexpr Connection kImage{true, true, false, false};
constexpr Connection kOnNoBus{};

/// A machine with a disk on each bus.
class VolumeMediumTest : public ::testing::Test
{
protected:
    VolumeMediumTest()
    {
        addDisk("pci0000:00/ata1/host0/target0:0:0/0:0:0:0", "scsi", "sda", "8:0");
        m_system.addPartition(std::string(kSata) + "/sda2", "8:2");
        m_system.setSubsystem("pci0000:00/usb1", "usb");
        addDisk("pci0000:00/usb1/host6/6:0:0:0", "scsi", "sdb", "8:16");
        m_system.addPartition(std::string(kUsb) + "/sdb1", "8:17");
    }

    /// The folder of the disk.
    std::string addDisk(const std::string &parent, const std::string &subsystem, const std::string &name,
                        const std::string &number, bool isRemovable = false)
    {
        const std::string path = parent + "/block/" + name;
        if (!subsystem.empty())
            m_system.setSubsystem(parent, subsystem);
        m_system.addBlockDevice(path, number, isRemovable);
        return path;
    }

    Connection ofDevice(const std::string &number)
    {
        const Result<Connection> answer = ofMount("22 1 " + number + " / /mnt rw - ext4 /dev/some rw\n");
        EXPECT_TRUE(answer) << answer.failure().context;
        return answer.valueOr({});
    }
    Result<Connection> ofMount(const std::string &lines)
    {
        const MountTable table = MountTable::parse(lines);
        return VolumeMedium(m_system.folders(), table).connection(table.mounts().front());
    }
    /// Of a volume without a device number, with this kind, source and options.
    Connection ofAnonymous(const std::string &rest)
    {
        const Result<Connection> answer = ofMount("22 1 0:40 / /mnt rw - " + rest + "\n");
        EXPECT_TRUE(answer) << answer.failure().context;
        return answer.valueOr({});
    }
    std::string node(const std::string &name) const { return m_system.folders().devices / name; }

    static constexpr const char *kSata = "pci0000:00/ata1/host0/target0:0:0/0:0:0:0/block/sda";
    static constexpr const char *kUsb = "pci0000:00/usb1/host6/6:0:0:0/block/sdb";
    MadeUpSystem m_system{PrivateHome::current().root() / "machine"};
};

} // namespace

TEST_F(VolumeMediumTest, connection_diskInside_isInternal)
{
    addDisk("pci0000:00/nvme/nvme0", "nvme", "nvme0n1", "259:0");
    m_system.addFile("pci0000:00/nvme/nvme0/transport", "pcie\n");
    addDisk("pci0000:00/virtio1", "virtio", "vda", "254:0");
    addDisk("platform/mmc_host/mmc0/mmc0:0001", "mmc", "mmcblk0", "179:0");
    m_system.addFile("platform/mmc_host/mmc0/mmc0:0001/type", "MMC\n");
    m_system.addBlockDevice("virtual/block/zram0", "253:0");
    for (const char *const number : {"8:0", "8:2", "259:0", "254:0", "179:0", "253:0"})
        EXPECT_EQ(ofDevice(number), kInternal) << number;
}

TEST_F(VolumeMediumTest, connection_diskOutside_isExternal)
{
    m_system.setSubsystem("pci0000:00/fw1", "firewire");
    addDisk("pci0000:00/fw1/host7/7:0:0:0", "scsi", "sdc", "8:32");
    m_system.setSubsystem("pci0000:00/0000:05:00.0", "pci");
    m_system.addFile("pci0000:00/0000:05:00.0/removable", "removable\n"); // behind a Thunderbolt port
    addDisk("pci0000:00/0000:05:00.0/nvme/nvme1", "nvme", "nvme1n1", "259:4");
    for (const char *const number : {"8:16", "8:17", "8:32", "259:4"})
        EXPECT_EQ(ofDevice(number), kExternal) << number;
}

TEST_F(VolumeMediumTest, connection_portThatIsFixed_isInternal)
{
    m_system.setSubsystem("pci0000:00/0000:06:00.0", "pci");
    m_system.addFile("pci0000:00/0000:06:00.0/removable", "fixed\n");
    addDisk("pci0000:00/0000:06:00.0/nvme/nvme2", "nvme", "nvme2n1", "259:8");
    EXPECT_EQ(ofDevice("259:8"), kInternal);
}

TEST_F(VolumeMediumTest, connection_removableMedium_isEjectableToo)
{
    addDisk("pci0000:00/usb1/host8/8:0:0:0", "scsi", "sdd", "8:48", true);
    m_system.addPartition("pci0000:00/usb1/host8/8:0:0:0/block/sdd/sdd1", "8:49");
    EXPECT_EQ(ofDevice("8:48"), kStick);
    EXPECT_EQ(ofDevice("8:49"), kStick);
    addDisk("platform/mmc_host/mmc1/mmc1:aaaa", "mmc", "mmcblk1", "179:8");
    m_system.addFile("platform/mmc_host/mmc1/mmc1:aaaa/type", "SD\n");
    EXPECT_EQ(ofDevice("179:8"), kImage) << "a memory card";
}

TEST_F(VolumeMediumTest, connection_opticalDrive_isEjectable)
{
    addDisk("pci0000:00/ata2/host1/1:0:0:0", "scsi", "sr0", "11:0", true);
    addDisk("pci0000:00/ata3/host2/2:0:0:0", "scsi", "optical", "8:64");
    m_system.addFile("pci0000:00/ata3/host2/2:0:0:0/block/optical/device/type", "5\n");
    EXPECT_EQ(ofDevice("11:0"), (Connection{true, true, true, false}));
    EXPECT_EQ(ofDevice("8:64"), (Connection{false, true, true, false}));
}

TEST_F(VolumeMediumTest, connection_image_isRemovableAndOnNoBus)
{
    m_system.addBlockDevice("virtual/block/loop0", "7:0");
    m_system.addPartition("virtual/block/loop0/loop0p1", "259:20");
    EXPECT_EQ(ofDevice("7:0"), kImage);
    EXPECT_EQ(ofDevice("259:20"), kImage);
}

TEST_F(VolumeMediumTest, connection_overANetwork_isOnNoBus)
{
    m_system.addFile("platform/host9/session1/iscsi_session/session1/state", "LOGGED_IN\n");
    addDisk("platform/host9/session1/9:0:0:0", "scsi", "sde", "8:80");
    m_system.addFile("virtual/nvme-fabrics/ctl/nvme3/transport", "tcp\n");
    addDisk("virtual/nvme-fabrics/ctl/nvme3", "nvme", "nvme3n1", "259:12");
    m_system.addBlockDevice("virtual/block/nbd0", "43:0");
    for (const char *const number : {"8:80", "259:12", "43:0"})
        EXPECT_EQ(ofDevice(number), kOnNoBus) << number;
}

TEST_F(VolumeMediumTest, connection_diskWithSeveralWays_isThatOfItsControllers)
{
    m_system.setSubsystem("pci0000:00/0000:05:00.0", "pci");
    m_system.setSubsystem("pci0000:00/0000:05:00.0/nvme/nvme4", "nvme");
    m_system.addFile("pci0000:00/0000:05:00.0/nvme/nvme4/transport", "pcie\n");
    m_system.setSubsystem("virtual/nvme-subsystem/nvme-subsys4", "nvme-subsystem");
    m_system.addLink("devices/virtual/nvme-subsystem/nvme-subsys4/nvme4", "pci0000:00/0000:05:00.0/nvme/nvme4");
    m_system.addBlockDevice("virtual/nvme-subsystem/nvme-subsys4/nvme4n1", "259:16");
    EXPECT_EQ(ofDevice("259:16"), kInternal);
    m_system.addFile("pci0000:00/0000:05:00.0/removable", "removable\n");
    EXPECT_EQ(ofDevice("259:16"), kExternal);
}

TEST_F(VolumeMediumTest, connection_layersOfDevices_areFollowedToTheDisk)
{
    m_system.addBlockDevice("virtual/block/dm-0", "252:0"); // encryption on a partition
    m_system.addSlave("virtual/block/dm-0", std::string(kUsb) + "/sdb1");
    m_system.addBlockDevice("virtual/block/dm-1", "252:1"); // a logical volume on that
    m_system.addSlave("virtual/block/dm-1", "virtual/block/dm-0");
    EXPECT_EQ(ofDevice("252:1"), kExternal);
    m_system.addBlockDevice("virtual/block/md0", "9:0"); // an array
    m_system.addSlave("virtual/block/md0", std::string(kSata) + "/sda2");
    m_system.addPartition("virtual/block/md0/md0p1", "259:24");
    EXPECT_EQ(ofDevice("259:24"), kInternal);
    m_system.addSlave("virtual/block/md0", std::string(kUsb) + "/sdb1");
    EXPECT_EQ(ofDevice("9:0"), kExternal) << "one of its disks can be pulled out";
}

TEST_F(VolumeMediumTest, connection_layersInACircle_comeToAnEnd)
{
    m_system.addBlockDevice("virtual/block/dm-2", "252:2");
    m_system.addBlockDevice("virtual/block/dm-3", "252:3");
    m_system.addSlave("virtual/block/dm-2", "virtual/block/dm-3");
    m_system.addSlave("virtual/block/dm-3", "virtual/block/dm-2");
    EXPECT_EQ(ofDevice("252:2"), kOnNoBus);
}

TEST_F(VolumeMediumTest, connection_volumeWithoutADeviceNumber_isThatOfItsSource)
{
    EXPECT_EQ(ofAnonymous("btrfs " + node("sda2") + " rw,subvol=/home"), kInternal);
    EXPECT_EQ(ofAnonymous("btrfs " + node("sdb1") + " rw"), kExternal);
    m_system.addBlockDevice("virtual/block/dm-0", "252:0");
    m_system.addSlave("virtual/block/dm-0", std::string(kUsb) + "/sdb1");
    std::filesystem::create_symlink("../dm-0", node("mapper/secret"));
    EXPECT_EQ(ofAnonymous("btrfs " + node("mapper/secret") + " rw"), kExternal);
    m_system.addBlockDevice("virtual/block/cciss!c0d0", "104:0");
    EXPECT_EQ(ofAnonymous("btrfs " + node("cciss/c0d0") + " rw"), kOnNoBus);
}

TEST_F(VolumeMediumTest, connection_volumeOverSeveralDevices_isThatOfAll)
{
    m_system.addLink("fs/btrfs/0f5e/devices/sda2", std::string(kSata) + "/sda2");
    EXPECT_EQ(ofAnonymous("btrfs " + node("sda2") + " rw"), kInternal);
    m_system.addLink("fs/btrfs/0f5e/devices/sdb1", std::string(kUsb) + "/sdb1");
    EXPECT_EQ(ofAnonymous("btrfs " + node("sda2") + " rw"), kExternal);
}

TEST_F(VolumeMediumTest, connection_noDevice_isToldByTheKind)
{
    for (const char *const memory : {"tmpfs tmpfs rw,size=1k", "ramfs none rw", "devtmpfs udev rw"})
        EXPECT_EQ(ofAnonymous(memory), kInternal) << memory;
    for (const std::string remote :
         {"nfs4 server:/export rw", "cifs //server/share rw", "9p host rw", "virtiofs share rw", "zfs pool/home rw"})
        EXPECT_EQ(ofAnonymous(remote), kOnNoBus) << remote;
    EXPECT_EQ(ofAnonymous("fuse.sshfs user@server: rw"), kOnNoBus);
    EXPECT_EQ(ofAnonymous("fuse.some " + node("sda2") + " rw"), kOnNoBus) << "anybody can name a source";
}

TEST_F(VolumeMediumTest, connection_blockDeviceThroughFuse_isThatOfTheDevice)
{
    const Result<Connection> answer = ofMount("22 1 8:17 / /mnt rw - fuseblk /dev/sdb1 rw\n");
    ASSERT_TRUE(answer);
    EXPECT_EQ(*answer, kExternal);
}

TEST_F(VolumeMediumTest, connection_overlay_isThatOfItsUpperLayer)
{
    const std::string below = "23 22 8:17 / /stick rw - ext4 /dev/sdb1 rw\n24 22 8:2 / /disk rw - ext4 /dev/sda2 rw\n";
    const auto over = [&](const std::string &options) {
        return ofMount("22 1 0:40 / / rw - overlay overlay rw," + options + "\n" + below).valueOr({});
    };
    EXPECT_EQ(over("lowerdir=/disk/l,upperdir=/stick/u,workdir=/stick/w"), kExternal);
    EXPECT_EQ(over("lowerdir=/stick/l,upperdir=/disk/u,workdir=/disk/w"), kInternal);
    EXPECT_EQ(over("lowerdir=/stick/l"), kExternal);
    EXPECT_EQ(over("lowerdir=/elsewhere/l,upperdir=/elsewhere/u"), kInternal) << "its layers are out of sight";
}

TEST_F(VolumeMediumTest, connection_deviceThatIsNotTold_isNotFound)
{
    for (const std::string &mount : {std::string("22 1 8:99 / /mnt rw - ext4 /dev/sdz rw\n"),
                                     "22 1 0:40 / /mnt rw - btrfs " + node("sdz") + " rw\n"}) {
        const Result<Connection> answer = ofMount(mount);
        ASSERT_FALSE(answer) << mount;
        EXPECT_EQ(answer.failure().code, ErrorCode::NotFound);
    }
}

namespace {

class JournalTest : public VolumeMediumTest
{
protected:
    Result<bool> journal(const std::string &type)
    {
        const MountTable table = MountTable::parse("22 1 8:2 / /mnt rw - " + type + " /dev/sda2 rw\n");
        return VolumeMedium(m_system.folders(), table).hasActiveJournal(table.mounts().front());
    }
    void setTask(const std::string &content) { m_system.addFile("../fs/ext4/sda2/journal_task", content); }
    void setHeader(const std::string &bytes)
    {
        std::ofstream(node("sda2"), std::ios::binary) << std::string(1024, '\0') << bytes;
    }
};

} // namespace

TEST_F(JournalTest, hasActiveJournal_ext_isWhereAThreadWritesOne)
{
    for (const char *const type : {"ext3", "ext4"}) {
        setTask("371\n");
        EXPECT_TRUE(journal(type).valueOr(false)) << type;
        setTask("<none>\n");
        EXPECT_FALSE(journal(type).valueOr(true)) << type;
    }
}

TEST_F(JournalTest, hasActiveJournal_extWithoutAnAnswer_isAFailureWithANumber)
{
    const Result<bool> answer = journal("ext4");
    ASSERT_FALSE(answer);
    EXPECT_EQ(answer.failure().systemError, ENOENT);
}

TEST_F(JournalTest, hasActiveJournal_hfsplus_isInItsHeader)
{
    setHeader(std::string("H+\0\4\x80\0\x21\0", 8));
    EXPECT_TRUE(journal("hfsplus").valueOr(false));
    setHeader(std::string("HX\0\5\x80\0\x20\0", 8));
    EXPECT_TRUE(journal("hfsplus").valueOr(false));
    setHeader(std::string("H+\0\4\x80\0\x01\0", 8));
    EXPECT_FALSE(journal("hfsplus").valueOr(true));
    setHeader(std::string("BD\0\4\x80\0\x20\0", 8));
    EXPECT_EQ(journal("hfsplus").failure().systemError, EINVAL);
    setHeader("H+");
    EXPECT_EQ(journal("hfsplus").failure().systemError, EINVAL);
    std::filesystem::remove(node("sda2"));
    EXPECT_EQ(journal("hfsplus").failure().systemError, ENOENT);
}

TEST_F(JournalTest, hasActiveJournal_others_haveNoneButXfs)
{
    EXPECT_TRUE(journal("xfs").valueOr(false));
    for (const char *const type : {"ext2", "btrfs", "tmpfs", "vfat"})
        EXPECT_FALSE(journal(type).valueOr(true)) << type;
}
