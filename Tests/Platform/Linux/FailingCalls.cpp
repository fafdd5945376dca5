#undef _FILE_OFFSET_BITS // both names of a call are defined below, each by its own
#include "Tests/Platform/Linux/FailingCalls.h"

#include <cerrno>
#include <cstdarg>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <sys/xattr.h>
#include <unistd.h>

static thread_local bool s_isArmed = false;
static thread_local int s_remaining = 0;
static thread_local int s_calls = 0;
static thread_local int s_error = 0;

void FailingCalls::fail(int number, int systemError)
{
    s_remaining = number;
    s_calls = 0;
    s_error = systemError;
    s_isArmed = true;
}

int FailingCalls::stop()
{
    s_isArmed = false;
    return s_calls;
}

static bool isToFail()
{
    if (!s_isArmed)
        return false;
    ++s_calls;
    if (s_remaining-- != 0)
        return false;
    errno = s_error;
    return true;
}

template <class... Arguments>
static long perform(long number, Arguments... arguments)
{
    return isToFail() ? -1 : ::syscall(number, arguments...);
}

static int openFile(int folder, const char *path, int flags, mode_t mode)
{
    const bool isChange = (flags & O_ACCMODE) != O_RDONLY || (flags & O_CREAT) != 0;
    if (isChange && isToFail())
        return -1;
    return int(::syscall(SYS_openat, folder, path, flags, mode));
}

/// The mode is given where something is made only.
#define OPEN(folder, path, flags)                                                                                      \
    va_list arguments;                                                                                                 \
    va_start(arguments, flags);                                                                                        \
    const bool hasMode = (flags & (O_CREAT | O_TMPFILE)) != 0;                                                         \
    const mode_t mode = hasMode ? va_arg(arguments, mode_t) : 0;                                                       \
    va_end(arguments);                                                                                                 \
    return openFile(folder, path, flags, mode)

// These stand before those of the C library, for the shared libraries too.
extern "C" {

int open(const char *path, int flags, ...)
{
    OPEN(AT_FDCWD, path, flags);
}

int open64(const char *path, int flags, ...)
{
    OPEN(AT_FDCWD, path, flags);
}

int openat(int folder, const char *path, int flags, ...)
{
    OPEN(folder, path, flags);
}

int openat64(int folder, const char *path, int flags, ...)
{
    OPEN(folder, path, flags);
}

int close(int file)
{
    const int flags = s_isArmed ? ::fcntl(file, F_GETFL) : O_RDONLY;
    const bool isToBeFailed = (flags & O_ACCMODE) != O_RDONLY && isToFail();
    const int answer = int(::syscall(SYS_close, file)); // it is closed whatever it answers
    if (isToBeFailed)
        errno = s_error;
    return isToBeFailed ? -1 : answer;
}

ssize_t write(int file, const void *bytes, size_t size)
{
    return perform(SYS_write, file, bytes, size);
}

ssize_t pwrite(int file, const void *bytes, size_t size, off_t offset)
{
    return perform(SYS_pwrite64, file, bytes, size, offset);
}

ssize_t pwrite64(int file, const void *bytes, size_t size, off64_t offset)
{
    return perform(SYS_pwrite64, file, bytes, size, offset);
}

int ftruncate(int file, off_t size) noexcept
{
    return int(perform(SYS_ftruncate, file, size));
}

int ftruncate64(int file, off64_t size) noexcept
{
    return int(perform(SYS_ftruncate, file, size));
}

int fsync(int file)
{
    return int(perform(SYS_fsync, file));
}

int fdatasync(int file)
{
    return int(perform(SYS_fdatasync, file));
}

int mkdir(const char *path, mode_t mode) noexcept
{
    return int(perform(SYS_mkdirat, AT_FDCWD, path, mode));
}

int mkdirat(int folder, const char *path, mode_t mode) noexcept
{
    return int(perform(SYS_mkdirat, folder, path, mode));
}

int unlink(const char *path) noexcept
{
    return int(perform(SYS_unlinkat, AT_FDCWD, path, 0));
}

int unlinkat(int folder, const char *path, int flags) noexcept
{
    return int(perform(SYS_unlinkat, folder, path, flags));
}

int linkat(int from, const char *old, int to, const char *name, int flags) noexcept
{
    return int(perform(SYS_linkat, from, old, to, name, flags));
}

int rename(const char *old, const char *name) noexcept
{
    return int(perform(SYS_renameat, AT_FDCWD, old, AT_FDCWD, name));
}

int renameat(int from, const char *old, int to, const char *name) noexcept
{
    return int(perform(SYS_renameat, from, old, to, name));
}

int renameat2(int from, const char *old, int to, const char *name, unsigned flags) noexcept
{
    return int(perform(SYS_renameat2, from, old, to, name, flags));
}

int flock(int file, int operation) noexcept
{
    return int(perform(SYS_flock, file, operation));
}

int fallocate(int file, int mode, off_t offset, off_t size)
{
    return int(perform(SYS_fallocate, file, mode, offset, size));
}

int fallocate64(int file, int mode, off64_t offset, off64_t size)
{
    return int(perform(SYS_fallocate, file, mode, offset, size));
}

ssize_t copy_file_range(int from, off64_t *fromOffset, int to, off64_t *toOffset, size_t size, unsigned flags)
{
    return perform(SYS_copy_file_range, from, fromOffset, to, toOffset, size, flags);
}

int fchmod(int file, mode_t mode) noexcept
{
    return int(perform(SYS_fchmod, file, mode));
}

int fchown(int file, uid_t owner, gid_t group) noexcept
{
    return int(perform(SYS_fchown, file, owner, group));
}

int futimens(int file, const timespec times[2]) noexcept
{
    return int(perform(SYS_utimensat, file, nullptr, times, 0));
}

int fsetxattr(int file, const char *name, const void *value, size_t size, int flags) noexcept
{
    return int(perform(SYS_fsetxattr, file, name, value, size, flags));
}

int lsetxattr(const char *path, const char *name, const void *value, size_t size, int flags) noexcept
{
    return int(perform(SYS_lsetxattr, path, name, value, size, flags));
}
}
