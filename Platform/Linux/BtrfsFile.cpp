#include "Platform/Linux/BtrfsFile.h"

#include "Platform/Linux/ExtentMap.h"
#include "Platform/Linux/FileCalls.h"

#include <fcntl.h>
#include <limits>
#include <linux/btrfs.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/statvfs.h>

static constexpr std::uint32_t kZstd = 3; // the kernel's number for it, which its headers do not name

Result<std::unique_ptr<CompressibleFile>> BtrfsFile::open(const Path &path)
{
    struct stat status = {};
    Result<Descriptor> file = FileCalls::openForReading(path, Links::NotFollow, status);
    if (!file)
        return file.failure();
    // Reading it is no access of the user's. Of another's file that is not to be had, and those are left alone.
    const int flags = ::fcntl(file->get(), F_GETFL);
    if (flags < 0 || ::fcntl(file->get(), F_SETFL, flags | O_NOATIME) != 0)
        return Failure::fromErrno(errno, "O_NOATIME", path);
    return std::unique_ptr<CompressibleFile>(std::make_unique<BtrfsFile>(std::move(*file), path));
}

BtrfsFile::BtrfsFile(Descriptor descriptor, Path path)
    : m_descriptor(std::move(descriptor))
    , m_path(std::move(path))
{
    struct stat status = {};
    if (::fstat(m_descriptor.get(), &status) == 0 && status.st_blksize > 0)
        m_blockSize = ByteCount(status.st_blksize);
}

Result<FileStatus> BtrfsFile::status() const
{
    struct stat status = {};
    if (::fstat(m_descriptor.get(), &status) != 0)
        return Failure::fromErrno(errno, "fstat", m_path);
    return FileCalls::statusFrom(status);
}

Result<unsigned> BtrfsFile::flags() const
{
    int flags = 0; // an int, whatever the call's name says
    if (::ioctl(m_descriptor.get(), FS_IOC_GETFLAGS, &flags) != 0)
        return Failure::fromErrno(errno, "FS_IOC_GETFLAGS", m_path);
    return unsigned(flags);
}

Result<CompressibleFile::Wish> BtrfsFile::wish() const
{
    const Result<unsigned> flags = this->flags();
    if (!flags)
        return flags.failure();
    if (*flags & FS_NOCOMP_FL)
        return Wish::LeaveAlone;
    return *flags & FS_COMPR_FL ? Wish::Compress : Wish::None;
}

Result<bool> BtrfsFile::isWrittenInPlace() const
{
    const Result<unsigned> flags = this->flags();
    if (!flags)
        return flags.failure();
    return (*flags & FS_NOCOW_FL) != 0;
}

Result<VolumeRoom> BtrfsFile::room() const
{
    struct statvfs volume = {};
    if (::fstatvfs(m_descriptor.get(), &volume) != 0)
        return Failure::fromErrno(errno, "fstatvfs", m_path);
    return VolumeRoom{ByteCount(volume.f_bavail) * volume.f_frsize, ByteCount(volume.f_blocks) * volume.f_frsize};
}

Result<std::vector<StoredExtent>> BtrfsFile::extentsFrom(ByteCount offset) const
{
    ExtentMap map;
    if (const Result<void> read = map.read(m_descriptor.get(), offset, m_path, ExtentMap::Memory::WriteOut); !read)
        return read.failure();
    std::vector<StoredExtent> extents;
    extents.reserve(map.extents().size());
    for (const fiemap_extent &extent : map.extents()) {
        StoredExtent stored;
        stored.offset = extent.fe_logical;
        stored.length = extent.fe_length;
        stored.isCompressed = extent.fe_flags & FIEMAP_EXTENT_ENCODED;
        stored.isShared = extent.fe_flags & FIEMAP_EXTENT_SHARED;
        stored.isWritten = !(extent.fe_flags & FIEMAP_EXTENT_UNWRITTEN);
        stored.isEmbedded = extent.fe_flags & FIEMAP_EXTENT_DATA_INLINE;
        extents.push_back(stored);
    }
    return extents;
}

Result<std::size_t> BtrfsFile::readAt(ByteCount offset, std::span<std::uint8_t> buffer) const
{
    return FileCalls::readAt(m_descriptor.get(), offset, buffer);
}

Result<void> BtrfsFile::compress(ByteCount offset, ByteCount length)
{
    btrfs_ioctl_defrag_range_args range = {};
    range.start = offset;
    range.len = length;
    range.flags = BTRFS_DEFRAG_RANGE_COMPRESS | BTRFS_DEFRAG_RANGE_START_IO;
    range.extent_thresh = std::numeric_limits<std::uint32_t>::max(); // no extent is so large that it may stay
    range.compress_type = kZstd;
    if (::ioctl(m_descriptor.get(), BTRFS_IOC_DEFRAG_RANGE, &range) != 0)
        return Failure::fromErrno(errno, "BTRFS_IOC_DEFRAG_RANGE", m_path);
    return {};
}
