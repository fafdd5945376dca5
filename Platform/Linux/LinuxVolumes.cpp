#include "Platform/Linux/LinuxVolumes.h"

#include "Platform/Linux/CurrentMounts.h"
#include "Platform/Linux/VolumeMedium.h"

#include <limits>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/sysmacros.h>

/// The format of the platform's own volumes, and what has transparent compression here.
static bool isOfNativeFamily(const Mount &mount)
{
    return mount.type == "hfsplus" || mount.type == "hfs" || mount.type == "btrfs";
}

Result<LinuxVolumes::Place> LinuxVolumes::place(const Path &path, const MountTable &mounts)
{
    struct statx status = {};
    if (::statx(AT_FDCWD, path.c_str(), 0, STATX_MNT_ID, &status) != 0)
        return Failure::fromErrno(errno, "statx", path);
    const Mount *const mount = mounts.withId(status.stx_mnt_id);
    if (!(status.stx_mask & STATX_MNT_ID) || !mount)
        return Failure::fromErrno(ENOENT, "mount", path);
    return Place{*mount, makedev(status.stx_dev_major, status.stx_dev_minor)};
}

/// What `ask(place, mounts)` answers for the place to which a path leads now.
template <class Ask>
auto LinuxVolumes::askPlace(const Path &path, Ask &&ask) -> std::invoke_result_t<Ask, const Place &, const MountTable &>
{
    const auto mounts = currentMounts();
    if (!mounts)
        return mounts.failure();
    const Result<Place> found = place(path, **mounts);
    if (!found)
        return found.failure();
    return ask(*found, **mounts);
}

/// What `ask(mount, mounts)` answers for a volume that is mounted now.
template <class Ask>
auto LinuxVolumes::askVolume(std::int16_t volume, Ask &&ask) const
    -> std::invoke_result_t<Ask, const Mount &, const MountTable &>
{
    const auto mounts = currentMounts();
    if (!mounts)
        return mounts.failure();
    std::unique_lock lock(m_mutex);
    const auto reference = m_references.find(volume);
    const Mount *const mount = reference == m_references.end() ? nullptr : (*mounts)->withId(reference->second.mount);
    if (!mount || mount->device != reference->second.mountDevice)
        return Failure{ErrorCode::NotFound, ENOENT, "no volume has the number " + std::to_string(volume)};
    lock.unlock();
    return ask(*mount, **mounts);
}

Result<std::int16_t> LinuxVolumes::referenceNumber(const Path &path) const
{
    return askPlace(path, [this](const Place &found, const MountTable &) { return numberOf(found); });
}

Result<std::int16_t> LinuxVolumes::numberOf(const Place &place) const
{
    // Files of an overlay bear the device numbers of its layers, and can be renamed across them all the same.
    const std::uint64_t device = place.mount.type == "overlay" ? 0 : place.device;
    const Reference reference{place.mount.id, device, place.mount.device};
    const std::lock_guard lock(m_mutex);
    if (const auto known = m_numbers.find(reference); known != m_numbers.end())
        return known->second;
    if (m_numbers.size() == std::size_t(std::numeric_limits<std::int16_t>::max()))
        return Failure{ErrorCode::TooLarge, ENOSPC, "too many volumes"};
    const auto number = std::int16_t(m_numbers.size() + 1);
    m_numbers.emplace(reference, number);
    m_references.emplace(number, reference);
    return number;
}

Result<std::uint16_t> LinuxVolumes::formatId(std::int16_t volume) const
{
    return askVolume(volume, [](const Mount &mount, const MountTable &) -> Result<std::uint16_t> {
        return std::uint16_t(isOfNativeFamily(mount) ? 0 : 1);
    });
}

Result<std::uint32_t> LinuxVolumes::extendedAttributes(std::int16_t volume) const
{
    return askVolume(volume, [this](const Mount &mount, const MountTable &mounts) -> Result<std::uint32_t> {
        const Result<Connection> connection = VolumeMedium(m_folders, mounts).connection(mount);
        if (!connection)
            return connection.failure();
        return (connection->isEjectable ? kIsEjectable : 0) | (connection->isInternal ? kIsOnInternalBus : 0) |
               (connection->isRemovable ? kIsRemovable : 0) | (connection->isExternal ? kIsOnExternalBus : 0);
    });
}

Result<std::string> LinuxVolumes::typeName(const Path &path) const
{
    return askPlace(path, [](const Place &found, const MountTable &) -> Result<std::string> {
        return isOfNativeFamily(found.mount) ? "hfs" : found.mount.type;
    });
}

Result<bool> LinuxVolumes::isWritable(const Path &path) const
{
    struct statvfs status = {};
    if (::statvfs(path.c_str(), &status) != 0)
        return Failure::fromErrno(errno, "statvfs", path);
    return (status.f_flag & ST_RDONLY) == 0;
}

Result<Path> LinuxVolumes::mountPoint(const Path &path) const
{
    return askPlace(path, [](const Place &found, const MountTable &) -> Result<Path> { return found.mount.point; });
}

Result<ByteCount> LinuxVolumes::availableSpace(const Path &path) const
{
    struct statvfs status = {};
    if (::statvfs(path.c_str(), &status) != 0)
        return Failure::fromErrno(errno, "statvfs", path);
    return ByteCount(status.f_bavail) * status.f_frsize;
}

Result<std::uint32_t> LinuxVolumes::formatCapabilities(const Path &path) const
{
    return askPlace(path, [this](const Place &found, const MountTable &mounts) -> Result<std::uint32_t> {
        const Result<bool> hasJournal = VolumeMedium(m_folders, mounts).hasActiveJournal(found.mount);
        if (!hasJournal)
            return hasJournal.failure();
        return *hasJournal ? kHasJournal | kHasActiveJournal : 0;
    });
}
