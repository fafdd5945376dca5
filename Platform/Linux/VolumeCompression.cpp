#include "Platform/Linux/VolumeCompression.h"

#include "Platform/Linux/ExtentMap.h"
#include "Platform/Linux/FileCalls.h"

#include <linux/magic.h>
#include <sys/sysmacros.h>
#include <sys/vfs.h>

/// Cheap for every other volume: those with a block device of their own are told apart without any call.
static bool isOnBtrfs(const Path &path, const struct stat &status)
{
    struct statfs volume = {};
    return major(status.st_dev) == 0 && ::statfs(path.c_str(), &volume) == 0 &&
           std::uint32_t(volume.f_type) == BTRFS_SUPER_MAGIC;
}

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
        if (map.isLast())
            return false;
        start = map.end();
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
