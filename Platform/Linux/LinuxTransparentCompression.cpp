#include "Platform/Linux/LinuxTransparentCompression.h"

#include "Platform/Linux/Descriptor.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/vfs.h>

using Ability = TransparentCompression::Ability;
using FolderState = TransparentCompression::FolderState;

/// Of a link its own volume, not its target's.
Result<TransparentCompression *> LinuxTransparentCompression::forVolumeOf(const Path &path) const
{
    const Descriptor place(::open(path.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    if (!place)
        return Failure::fromErrno(errno, "open", path);
    struct statfs volume = {};
    if (::fstatfs(place.get(), &volume) != 0)
        return Failure::fromErrno(errno, "fstatfs", path);
    if (std::uint32_t(volume.f_type) == BTRFS_SUPER_MAGIC)
        return &m_btrfs;
    return &m_none;
}

Result<Ability> LinuxTransparentCompression::ability(const Path &folder) const
{
    const Result<TransparentCompression *> fitting = forVolumeOf(folder);
    return fitting ? (*fitting)->ability(folder) : Result<Ability>(fitting.failure());
}

Result<FolderState> LinuxTransparentCompression::turnOn(const Path &folder)
{
    const Result<TransparentCompression *> fitting = forVolumeOf(folder);
    return fitting ? (*fitting)->turnOn(folder) : Result<FolderState>(fitting.failure());
}

Result<bool> LinuxTransparentCompression::isTurnedOn(const Path &folder) const
{
    const Result<TransparentCompression *> fitting = forVolumeOf(folder);
    return fitting ? (*fitting)->isTurnedOn(folder) : Result<bool>(fitting.failure());
}

Result<bool> LinuxTransparentCompression::turnOff(const Path &folder)
{
    const Result<TransparentCompression *> fitting = forVolumeOf(folder);
    return fitting ? (*fitting)->turnOff(folder) : Result<bool>(fitting.failure());
}

Result<std::unique_ptr<CompressibleFile>> LinuxTransparentCompression::open(const Path &file) const
{
    const Result<TransparentCompression *> fitting = forVolumeOf(file);
    if (!fitting)
        return fitting.failure();
    return (*fitting)->open(file);
}
