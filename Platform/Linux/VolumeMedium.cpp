#include "Platform/Linux/VolumeMedium.h"

#include "Platform/Formats/BigEndian.h"
#include "Platform/Linux/Descriptor.h"
#include "Platform/Linux/DeviceBus.h"
#include "Platform/Linux/FileCalls.h"

#include <array>
#include <set>

#include <fcntl.h>

static constexpr Connection kInMemory{false, false, true, false};
static constexpr Connection kOnNoBus{};

static bool isInMemory(const Mount &mount)
{
    static const std::set<std::string> kTypes = {"devtmpfs", "hugetlbfs", "ramfs", "rootfs", "tmpfs"};
    return kTypes.contains(mount.type);
}

/// Volumes without one device of their own have major number 0.
static bool hasDeviceNumber(const Mount &mount)
{
    return !mount.device.starts_with("0:");
}

static std::string optionOf(const Mount &mount, const std::string &name)
{
    const std::string options = "," + mount.volumeOptions + ",";
    const std::size_t found = options.find("," + name + "=");
    if (found == std::string::npos)
        return {};
    const std::size_t start = found + name.size() + 2;
    return options.substr(start, options.find(',', start) - start);
}

VolumeMedium::VolumeMedium(const SystemFolders &folders, const MountTable &mounts)
    : m_folders(folders)
    , m_mounts(mounts)
{
}

Result<Connection> VolumeMedium::connection(const Mount &mount) const
{
    if (hasDeviceNumber(mount)) {
        const Result<BlockDevice> device = BlockDevice::withNumber(m_folders, mount.device);
        if (!device)
            return device.failure();
        return device->connection();
    }
    if (isInMemory(mount))
        return kInMemory;
    if (mount.type == "overlay")
        return connectionOfLayers(mount);
    const bool isUntold = mount.mayHang() && mount.type != "fuseblk"; // which only root mounts, from a device
    if (isUntold || !mount.source.starts_with(m_folders.devices.native() + "/"))
        return kOnNoBus;
    const std::string first = mount.source.substr(0, mount.source.find(':')); // bcachefs names all of its devices
    const Result<BlockDevice> device = BlockDevice::withName(m_folders, first);
    if (!device)
        return device.failure();
    return connectionOfDevice(*device);
}

Result<Connection> VolumeMedium::connectionOfDevice(const BlockDevice &device) const
{
    const std::vector<BlockDevice> all = device.withItsFellows();
    Connection whole = all.front().connection();
    for (const BlockDevice &fellow : all)
        whole = whole + fellow.connection();
    return whole;
}

/// What is written goes to the upper layer. In a container neither can be seen; it is on this machine all the same.
Result<Connection> VolumeMedium::connectionOfLayers(const Mount &overlay) const
{
    const std::string upper = optionOf(overlay, "upperdir");
    const Mount *const below = m_mounts.holding(upper.empty() ? optionOf(overlay, "lowerdir") : upper);
    if (!below || below->type == "overlay")
        return kInMemory;
    return connection(*below);
}

/// The volume header of the format, 1024 bytes into its device.
static Result<bool> hasJournalInHeader(const Path &device)
{
    constexpr ByteCount kHeaderOffset = 1024;
    constexpr std::uint32_t kJournaled = 1u << 13; // of the attributes
    const Descriptor file(::open(device.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!file)
        return Failure::fromErrno(errno, "open", device);
    std::array<std::uint8_t, 8> header = {};
    const Result<std::size_t> got = FileCalls::readAt(file.get(), kHeaderOffset, header);
    if (!got)
        return got.failure();
    BigEndianReader reader(header);
    const auto signature = reader.read<std::uint16_t>();
    reader.read<std::uint16_t>(); // version
    const auto attributes = reader.read<std::uint32_t>();
    if (*got != header.size() || (signature != 0x482B && signature != 0x4858)) // "H+", "HX"
        return Failure::fromErrno(EINVAL, "no volume header", device);
    return (attributes & kJournaled) != 0;
}

Result<bool> VolumeMedium::hasActiveJournal(const Mount &mount) const
{
    if (mount.type == "xfs") // cannot do without
        return true;
    if (mount.type != "ext3" && mount.type != "ext4" && mount.type != "hfsplus")
        return false;
    const Result<BlockDevice> device = BlockDevice::withNumber(m_folders, mount.device);
    if (!device)
        return device.failure();
    if (mount.type == "hfsplus")
        return hasJournalInHeader(m_folders.devices / device->name());
    const Path task = m_folders.sysfs / "fs/ext4" / device->name() / "journal_task";
    const std::string id = readWord(task); // of the thread that writes the journal
    if (id.empty())
        return Failure::fromErrno(ENOENT, "journal", task);
    return id != "<none>";
}
