#include "Platform/Linux/BlockDevice.h"

#include "Platform/Linux/DeviceBus.h"

#include <algorithm>

namespace fs = std::filesystem;

static constexpr int kMostLayers = 16; // of encryption, volumes and arrays on each other

Connection Connection::operator+(const Connection &other) const
{
    Connection both;
    both.isRemovable = isRemovable || other.isRemovable;
    both.isEjectable = isEjectable || other.isEjectable;
    both.isInternal = isInternal && other.isInternal;
    both.isExternal = isExternal || other.isExternal;
    return both;
}

/// What a folder of links leads to, without links; what leads nowhere is left out.
static std::vector<Path> targetsIn(const Path &folder)
{
    std::vector<Path> targets;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        std::error_code broken;
        const Path target = fs::canonical(entry->path(), broken);
        if (!broken)
            targets.push_back(target);
    }
    std::sort(targets.begin(), targets.end());
    return targets;
}

BlockDevice::BlockDevice(Path sysfs, Path folder)
    : m_sysfs(std::move(sysfs))
    , m_folder(std::move(folder))
{
}

Result<BlockDevice> BlockDevice::behind(const SystemFolders &folders, const Path &link)
{
    std::error_code error;
    const Path folder = fs::canonical(link, error);
    if (error)
        return Failure::fromErrno(ENOENT, "block device", link);
    return BlockDevice(folders.sysfs, folder);
}

Result<BlockDevice> BlockDevice::withNumber(const SystemFolders &folders, const std::string &number)
{
    return behind(folders, folders.sysfs / "dev/block" / number);
}

Result<BlockDevice> BlockDevice::withName(const SystemFolders &folders, const std::string &name)
{
    std::error_code error;
    const Path node = fs::weakly_canonical(name, error); // /dev/mapper and /dev/disk are full of links
    std::string relative = error ? name : node.native();
    if (const std::string devices = folders.devices.native() + "/"; relative.starts_with(devices))
        relative.erase(0, devices.size());
    std::replace(relative.begin(), relative.end(), '/', '!'); // as the kernel writes names such as cciss/c0d0
    return behind(folders, folders.sysfs / "class/block" / relative);
}

Connection BlockDevice::connection(int depth) const
{
    std::error_code error;
    if (fs::exists(m_folder / "partition", error))
        return BlockDevice(m_sysfs, m_folder.parent_path()).connection(depth);
    const std::vector<Path> below = targetsIn(m_folder / "slaves");
    if (below.empty() || depth == kMostLayers)
        return connectionOfDisk();
    Connection whole = BlockDevice(m_sysfs, below.front()).connection(depth + 1);
    for (std::size_t index = 1; index < below.size(); ++index)
        whole = whole + BlockDevice(m_sysfs, below[index]).connection(depth + 1);
    return whole;
}

Connection BlockDevice::connectionOfDisk() const
{
    if (name().starts_with("loop")) // an image
        return {true, true, false, false};
    if (name().starts_with("zram") || name().starts_with("ram"))
        return {false, false, true, false};
    const DeviceBus bus(m_sysfs, m_folder);
    const bool isOptical = name().starts_with("sr") || readWord(m_folder / "device/type") == "5";
    Connection disk;
    disk.isRemovable = readWord(m_folder / "removable") == "1" || bus.isCardSlot();
    disk.isEjectable = disk.isRemovable || isOptical;
    disk.isInternal = bus.isInternal();
    disk.isExternal = bus.isExternal();
    return disk;
}

std::vector<BlockDevice> BlockDevice::withItsFellows() const
{
    std::error_code error;
    for (fs::directory_iterator volume(m_sysfs / "fs/btrfs", error), end; !error && volume != end;
         volume.increment(error)) {
        const std::vector<Path> devices = targetsIn(volume->path() / "devices");
        if (std::find(devices.begin(), devices.end(), m_folder) == devices.end())
            continue;
        std::vector<BlockDevice> all;
        for (const Path &folder : devices)
            all.push_back(BlockDevice(m_sysfs, folder));
        return all;
    }
    return {*this};
}
