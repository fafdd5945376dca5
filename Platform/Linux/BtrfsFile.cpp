#include "Platform/Linux/BtrfsFile.h"

#include "Platform/Linux/ExtentMap.h"
#include "Platform/Linux/FileCalls.h"

#include <array>
#include <cstddef>
#include <fcntl.h>
#include <limits>
#include <linux/btrfs.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/statvfs.h>
#include <sys/xattr.h>

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

/// A file without a name, whose content is not compressed: it goes with its descriptor.
Result<Descriptor> BtrfsFile::makeScratch() const
{
    const Path folder = m_path.has_parent_path() ? m_path.parent_path() : Path(".");
    Descriptor scratch(::open(folder.c_str(), O_TMPFILE | O_RDWR | O_EXCL | O_CLOEXEC, 0600));
    if (!scratch)
        return Failure::fromErrno(errno, "O_TMPFILE", folder);
    if (::fsetxattr(scratch.get(), "btrfs.compression", "none", 4, 0) != 0)
        return Failure::fromErrno(errno, "fsetxattr", folder);
    return scratch;
}

/// The scratch file's place on the medium becomes that of the part, if both have the same bytes: the system compares
/// them while nobody can write to either. No time changes by that.
Result<void> BtrfsFile::takeOver(int scratch, ByteCount offset, ByteCount length) const
{
    // Zeroed as bytes: one of the two ends in an array without a length, which not every compiler initializes.
    alignas(file_dedupe_range) std::array<std::byte, sizeof(file_dedupe_range) + sizeof(file_dedupe_range_info)> room =
        {};
    auto &range = *reinterpret_cast<file_dedupe_range *>(room.data());
    auto &info = *reinterpret_cast<file_dedupe_range_info *>(room.data() + sizeof range);
    range.src_length = length;
    range.dest_count = 1;
    info.dest_fd = m_descriptor.get();
    info.dest_offset = offset;
    if (::ioctl(scratch, FIDEDUPERANGE, &range) != 0)
        return Failure::fromErrno(errno, "FIDEDUPERANGE", m_path);
    if (info.status < 0)
        return Failure::fromErrno(-info.status, "FIDEDUPERANGE", m_path);
    if (info.status != FILE_DEDUPE_RANGE_SAME || info.bytes_deduped < length)
        return Failure{ErrorCode::Busy, 0, m_path.native() + " was changed meanwhile"};
    return {};
}

Result<void> BtrfsFile::writeAnew(ByteCount offset, ByteCount length)
{
    Bytes content(length);
    const Result<std::size_t> got = readAt(offset, content);
    if (!got)
        return got.failure();
    if (*got < length)
        return Failure{ErrorCode::Busy, 0, m_path.native() + " has become shorter"};
    const Result<Descriptor> scratch = makeScratch();
    if (!scratch)
        return scratch.failure();
    if (Result<void> written = FileCalls::writeAll(scratch->get(), content, m_path); !written)
        return written;
    return takeOver(scratch->get(), offset, length);
}
