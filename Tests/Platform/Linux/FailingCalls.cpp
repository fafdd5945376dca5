#include "Tests/Platform/Linux/FailingCalls.h"

#include <cerrno>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <sys/xattr.h>
#include <unistd.h>

static bool s_isArmed = false;
static int s_remaining = 0;
static int s_calls = 0;
static int s_error = 0;

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

// These stand before those of the C library, for the shared libraries too.
extern "C" {

ssize_t write(int file, const void *bytes, size_t size)
{
    return perform(SYS_write, file, bytes, size);
}

int fsync(int file)
{
    return int(perform(SYS_fsync, file));
}

int renameat(int from, const char *old, int to, const char *name) noexcept
{
    return int(perform(SYS_renameat, from, old, to, name));
}

int renameat2(int from, const char *old, int to, const char *name, unsigned flags) noexcept
{
    return int(perform(SYS_renameat2, from, old, to, name, flags));
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

int lsetxattr(const char *path, const char *name, const void *value, size_t size, int flags) noexcept
{
    return int(perform(SYS_lsetxattr, path, name, value, size, flags));
}
}
