#include "Platform/Linux/ExtentMap.h"

#include <linux/fs.h>
#include <sys/ioctl.h>

Result<void> ExtentMap::read(int file, std::uint64_t start, const Path &path, Memory memory)
{
    fiemap &map = *new (m_room.data()) fiemap{};
    map.fm_start = start;
    map.fm_length = FIEMAP_MAX_OFFSET - start;
    map.fm_flags = memory == Memory::WriteOut ? FIEMAP_FLAG_SYNC : 0;
    map.fm_extent_count = kExtentsAtOnce;
    if (::ioctl(file, FS_IOC_FIEMAP, &map) != 0)
        return Failure::fromErrno(errno, "FS_IOC_FIEMAP", path);
    return {};
}

std::span<const fiemap_extent> ExtentMap::extents() const
{
    const auto &map = *reinterpret_cast<const fiemap *>(m_room.data());
    return {reinterpret_cast<const fiemap_extent *>(m_room.data() + sizeof map), map.fm_mapped_extents};
}

bool ExtentMap::isLast() const
{
    return extents().empty() || (extents().back().fe_flags & FIEMAP_EXTENT_LAST);
}

std::uint64_t ExtentMap::end() const
{
    return extents().back().fe_logical + extents().back().fe_length;
}
