#include "Platform/Linux/VolumeCompression.h"

#include "Platform/Linux/FileCalls.h"

#include <array>
#include <cstddef>
#include <span>

#include <linux/fiemap.h>
#include <linux/fs.h>
#include <linux/magic.h>
#include <sys/ioctl.h>
#include <sys/sysmacros.h>
#include <sys/vfs.h>

static constexpr std::size_t kExtentsAtOnce = 128;

/// Cheap for every other volume: those with a block device of their own are told apart without any call.
static bool isOnBtrfs(const Path &path, const struct stat &status)
{
    struct statfs volume = {};
    return major(status.st_dev) == 0 && ::statfs(path.c_str(), &volume) == 0 &&
           std::uint32_t(volume.f_type) == BTRFS_SUPER_MAGIC;
}

namespace {

/// The map of a file's extents, as many as fit.
class ExtentMap final
{
public:
    /// Reads those from the byte `start` on, and what is still in memory is not written out for it.
    Result<void> read(int file, std::uint64_t start, const Path &path)
    {
        fiemap &map = *new (m_room.data()) fiemap{};
        map.fm_start = start;
        map.fm_length = FIEMAP_MAX_OFFSET - start;
        map.fm_extent_count = kExtentsAtOnce;
        if (::ioctl(file, FS_IOC_FIEMAP, &map) != 0)
            return Failure::fromErrno(errno, "FS_IOC_FIEMAP", path);
        return {};
    }

    std::span<const fiemap_extent> extents() const
    {
        const auto &map = *reinterpret_cast<const fiemap *>(m_room.data());
        return {reinterpret_cast<const fiemap_extent *>(m_room.data() + sizeof map), map.fm_mapped_extents};
    }

private:
    alignas(fiemap) std::array<std::byte, sizeof(fiemap) + kExtentsAtOnce * sizeof(fiemap_extent)> m_room = {};
};

} // namespace

static Result<bool> hasEncodedExtent(int file, const Path &path)
{
    ExtentMap map;
    for (std::uint64_t start = 0;;) {
        if (const Result<void> read = map.read(file, start, path); !read)
            return read.failure();
        for (const fiemap_extent &extent : map.extents()) {
            if (extent.fe_flags & FIEMAP_EXTENT_ENCODED)
                return true;
        }
        if (map.extents().empty() || (map.extents().back().fe_flags & FIEMAP_EXTENT_LAST))
            return false;
        start = map.extents().back().fe_logical + map.extents().back().fe_length;
    }
}

Result<bool> VolumeCompression::isUsedFor(const Path &path, const struct stat &status)
{
    if (!S_ISREG(status.st_mode) || !isOnBtrfs(path, status))
        return false;
    struct stat opened = {};
    const Result<Descriptor> file = FileCalls::openForReading(path, Links::NotFollow, opened);
    if (!file)
        return file.failure();
    return hasEncodedExtent(file->get(), path);
}
