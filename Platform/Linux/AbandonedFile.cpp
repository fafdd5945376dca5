#include "Platform/Linux/AbandonedFile.h"

#include "Platform/Linux/Descriptor.h"
#include "Platform/Linux/FileCalls.h"

#include <fcntl.h>
#include <sys/file.h>

bool AbandonedFile::isLikely(const struct stat &status)
{
    const bool isOwn = status.st_uid == ::geteuid() || ::geteuid() == 0; // who may have given it away already
    return S_ISREG(status.st_mode) && isOwn && status.st_nlink == 1;
}

/// The lock tells whether its maker is still there; the name, whether that one has let it go meanwhile.
Result<bool> AbandonedFile::remove(int folder, const Path &name, const Path &path)
{
    struct stat status = {};
    if (::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
        const int failure = errno;
        if (failure == ENOENT)
            return false;
        return Failure::fromErrno(failure, "fstatat", path);
    }
    if (!isLikely(status))
        return Failure::fromErrno(EEXIST, "abandoned file", path);
    constexpr int kFlags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
    const Descriptor found(::openat(folder, name.c_str(), kFlags));
    if (!found)
        return Failure::fromErrno(errno, "openat", path);
    if (::flock(found.get(), LOCK_EX | LOCK_NB) != 0)
        return Failure::fromErrno(errno, "flock", path);
    struct stat opened = {};
    if (::fstat(found.get(), &opened) != 0)
        return Failure::fromErrno(errno, "fstat", path);
    if (::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0)
        return Failure::fromErrno(errno, "fstatat", path);
    if (!FileCalls::isSameFile(opened, status) || !isLikely(opened))
        return Failure{ErrorCode::Busy, EBUSY, path.native() + " is not the file any more that it was"};
    if (::unlinkat(folder, name.c_str(), 0) != 0)
        return Failure::fromErrno(errno, "unlinkat", path);
    return true;
}

Result<void> AbandonedFile::lockNew(int descriptor, const Path &path)
{
    constexpr int kAttempts = 100;
    constexpr useconds_t kMoment = 1000; // microseconds
    for (int attempt = 1; ::flock(descriptor, LOCK_EX | LOCK_NB) != 0; ++attempt) {
        const int failure = errno;
        if (failure != EWOULDBLOCK || attempt == kAttempts)
            return Failure::fromErrno(failure, "flock", path);
        ::usleep(kMoment);
    }
    return {};
}
