#include "Platform/Linux/AliasVolume.h"

#include "Platform/Formats/Hexadecimal.h"

#include <array>
#include <cstdio>
#include <fstream>
#include <memory>

#include <libudev.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/sysmacros.h>

/// 8-4-4-4-12 digits.
static std::string spelledUuid(const Bytes &uuid)
{
    std::string text = toHexadecimal(uuid);
    for (const std::size_t position : {8u, 13u, 18u, 23u})
        text.insert(position, 1, '-');
    return text;
}

/// udev writes blanks and whatever is no plain character as \xNN.
static std::string decoded(const std::string &text)
{
    std::string result;
    for (std::size_t index = 0; index < text.size(); ++index) {
        unsigned value = 0;
        if (text.compare(index, 2, "\\x") == 0 && std::sscanf(text.c_str() + index + 2, "%2x", &value) == 1) {
            result += char(value);
            index += 3;
        } else {
            result += text[index];
        }
    }
    return result;
}

/// What the device manager knows of the block device; empty where there is none.
static std::string property(std::uint64_t device, const char *name)
{
    const std::unique_ptr<udev, decltype(&udev_unref)> context(udev_new(), udev_unref);
    if (!context)
        return {};
    const std::unique_ptr<udev_device, decltype(&udev_device_unref)> found(
        udev_device_new_from_devnum(context.get(), 'b', device), udev_device_unref);
    const char *const value = found ? udev_device_get_property_value(found.get(), name) : nullptr;
    return value ? decoded(value) : std::string();
}

static std::string volumeName(const AliasTarget &target, const MountTable &mounts)
{
    std::array<char, FSLABEL_MAX + 1> label = {};
    const Descriptor file = target.openOnVolume(mounts);
    if (file && ::ioctl(file.get(), FS_IOC_GETFSLABEL, label.data()) == 0 && label[0] != 0)
        return label.data();
    for (const char *const name : {"ID_FS_LABEL_ENC", "ID_FS_UUID_ENC"}) {
        const std::string value = property(target.device, name);
        if (!value.empty())
            return value;
    }
    if (!target.identity.volumeUuid.empty())
        return spelledUuid(target.identity.volumeUuid);
    char number[17] = {};
    std::snprintf(number, sizeof number, "%016llx", static_cast<unsigned long long>(target.identity.fileSystemId));
    return number;
}

static std::uint16_t signatureOf(const Mount *mount)
{
    if (mount && (mount->type == "hfsplus" || mount->type == "btrfs"))
        return 0x482B;                                 // "H+"
    return mount && mount->type == "hfs" ? 0x4244 : 0; // "BD"
}

/// A partition's own folder has no such file, the disk's above it has.
static bool isRemovable(std::uint64_t device)
{
    const std::string folder = "/sys/dev/block/" + std::to_string(major(device)) + ":" + std::to_string(minor(device));
    for (const char *const name : {"/removable", "/../removable"}) {
        std::ifstream file(folder + name);
        if (int value = 0; file >> value)
            return value != 0;
    }
    return false;
}

AliasVolume AliasVolume::of(const AliasTarget &target, const MountTable &mounts)
{
    const Mount *const mount = mounts.withId(target.mountId);
    const Mount *const above = mount ? mounts.withId(mount->parent) : nullptr;
    AliasVolume volume;
    volume.name = volumeName(target, mounts);
    volume.mountPoint = mount ? mount->point : Path("/");
    volume.signature = signatureOf(mount);
    volume.isBootVolume = volume.mountPoint == "/";
    volume.isAutomounted = above && above->isAutomounter();
    volume.isEjectable = isRemovable(target.device);
    return volume;
}
