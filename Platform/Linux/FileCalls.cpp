#include "Platform/Linux/FileCalls.h"

#include <algorithm>
#include <cstdio>
#include <fcntl.h>

static FileType typeFrom(mode_t mode)
{
    switch (mode & S_IFMT) {
    case S_IFREG:
        return FileType::Regular;
    case S_IFDIR:
        return FileType::Directory;
    case S_IFLNK:
        return FileType::Link;
    default:
        return FileType::Other;
    }
}

bool FileCalls::isSameFile(const struct stat &one, const struct stat &other)
{
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

FileStatus FileCalls::statusFrom(const struct stat &status)
{
    constexpr ByteCount kBlockUnit = 512; // of st_blocks, whatever the block size of the volume
    FileStatus answer;
    answer.identity = {status.st_dev, status.st_ino};
    answer.type = typeFrom(status.st_mode);
    answer.size = ByteCount(status.st_size);
    answer.occupied = ByteCount(status.st_blocks) * kBlockUnit;
    answer.mode = status.st_mode & 07777;
    answer.owner = status.st_uid;
    answer.group = status.st_gid;
    answer.linkCount = status.st_nlink;
    answer.modified = status.st_mtim.tv_sec;
    answer.changed = status.st_ctim.tv_sec;
    answer.modifiedNanoseconds = std::uint32_t(status.st_mtim.tv_nsec);
    return answer;
}

static Failure notRegular(const Path &path)
{
    return {ErrorCode::NotSupported, 0, path.native() + " is not a regular file"};
}

Result<Descriptor> FileCalls::openForReading(const Path &path, Links links, struct stat &status)
{
    // Looked at before it is opened: opening alone can rewind a tape. And again after, for it may have been replaced.
    const int noFollow = links == Links::NotFollow;
    if (::fstatat(AT_FDCWD, path.c_str(), &status, noFollow ? AT_SYMLINK_NOFOLLOW : 0) != 0)
        return Failure::fromErrno(errno, "stat", path);
    if (!S_ISREG(status.st_mode))
        return notRegular(path);
    const int flags = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC | (noFollow ? O_NOFOLLOW : 0);
    Descriptor file(::openat(AT_FDCWD, path.c_str(), flags));
    if (!file)
        return Failure::fromErrno(errno, "open", path);
    if (::fstat(file.get(), &status) != 0)
        return Failure::fromErrno(errno, "fstat", path);
    if (!S_ISREG(status.st_mode))
        return notRegular(path);
    return file;
}

Result<Bytes> FileCalls::readAll(int descriptor, ByteCount limit, const Path &path)
{
    constexpr std::size_t kStep = std::size_t{64} << 10;
    Bytes content;
    for (;;) {
        const std::size_t known = content.size();
        content.resize(known + kStep);
        const Result<std::size_t> got = readAt(descriptor, known, std::span(content).subspan(known));
        if (!got)
            return got.failure();
        content.resize(known + *got);
        if (content.size() > limit)
            return Failure{ErrorCode::TooLarge, EFBIG, path.native() + " is larger than it may be"};
        if (*got < kStep)
            return content;
    }
}

Result<std::size_t> FileCalls::readAt(int descriptor, ByteCount offset, std::span<std::uint8_t> buffer)
{
    std::size_t done = 0;
    while (done < buffer.size()) {
        const ssize_t got = ::pread(descriptor, buffer.data() + done, buffer.size() - done, off_t(offset + done));
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return Failure::fromErrno(errno, "pread");
        if (got == 0)
            break;
        done += std::size_t(got);
    }
    return done;
}

Result<void> FileCalls::writeAll(int descriptor, ByteView content, const Path &path)
{
    while (!content.empty()) {
        const ssize_t written = ::write(descriptor, content.data(), content.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            return Failure::fromErrno(errno, "write", path);
        content = content.subspan(std::size_t(written));
    }
    return {};
}

Result<void> FileCalls::moveWithoutReplacing(int folder, const Path &from, const Path &to)
{
    if (::renameat2(folder, from.c_str(), folder, to.c_str(), RENAME_NOREPLACE) == 0)
        return {};
    const int failure = errno;
    if (failure == EINVAL || failure == ENOSYS)
        return moveByLinking(folder, from, to);
    return Failure::fromErrno(failure, "renameat2", to);
}

static Result<void> moveDirectoryOntoNewOne(int folder, const Path &from, const Path &to)
{
    // rename replaces an empty directory and no other, so it can only be the one made here that is replaced.
    if (::mkdirat(folder, to.c_str(), 0700) != 0)
        return Failure::fromErrno(errno, "mkdirat", to);
    if (::renameat(folder, from.c_str(), folder, to.c_str()) == 0)
        return {};
    const int failure = errno;
    ::unlinkat(folder, to.c_str(), AT_REMOVEDIR);
    return Failure::fromErrno(failure, "renameat", to);
}

Result<void> FileCalls::moveByLinking(int folder, const Path &from, const Path &to)
{
    struct stat status = {};
    if (::fstatat(folder, from.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0)
        return Failure::fromErrno(errno, "fstatat", from);
    if (S_ISDIR(status.st_mode))
        return moveDirectoryOntoNewOne(folder, from, to);
    if (::linkat(folder, from.c_str(), folder, to.c_str(), 0) != 0)
        return Failure::fromErrno(errno, "linkat", to);
    if (::unlinkat(folder, from.c_str(), 0) == 0)
        return {};
    const int failure = errno;
    ::unlinkat(folder, to.c_str(), 0);
    return Failure::fromErrno(failure, "unlinkat", from);
}
