#include "Tests/Support/NamedForks.h"

#include <cstdarg>
#include <fstream>
#include <map>
#include <stdexcept>
#include <string>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

struct Fork
{
    int file; ///< kept open, so that no other file gets the number of this one
    std::string path;
};

std::map<std::pair<dev_t, ino_t>, Fork> s_forks;
std::function<void(off_t)> s_onRead;

} // namespace

template <class Call>
static Call systemCall(const char *name)
{
    return reinterpret_cast<Call>(::dlsym(RTLD_NEXT, name));
}

static int systemStat(int folder, const char *path, struct stat64 *status, int flags)
{
    static const auto s_call = systemCall<decltype(&systemStat)>("fstatat64");
    return s_call(folder, path, status, flags);
}

/// The path to ask the system for instead, which is this one where it leads to no fork of these.
static std::string forkPath(int folder, const char *path)
{
    static const std::string s_ending = "/..namedfork/rsrc";
    const std::string text = path;
    struct stat64 status = {};
    if (s_forks.empty() || !text.ends_with(s_ending))
        return text;
    const std::string file = text.substr(0, text.size() - s_ending.size());
    if (systemStat(folder, file.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0)
        return text;
    const auto found = s_forks.find({status.st_dev, status.st_ino});
    return found == s_forks.end() ? text : found->second.path;
}

// These stand before the system's own for the libraries of the program, too.

extern "C" int fstatat64(int folder, const char *path, struct stat64 *status, int flags) noexcept
{
    return systemStat(folder, forkPath(folder, path).c_str(), status, flags);
}

extern "C" int openat64(int folder, const char *path, int flags, ...)
{
    static const auto s_call = systemCall<int (*)(int, const char *, int, ...)>("openat64");
    std::va_list more;
    va_start(more, flags);
    const mode_t mode = flags & (O_CREAT | O_TMPFILE) ? va_arg(more, mode_t) : 0;
    va_end(more);
    return s_call(folder, forkPath(folder, path).c_str(), flags, mode);
}

extern "C" ssize_t pread64(int file, void *buffer, std::size_t size, off_t offset)
{
    static const auto s_call = systemCall<decltype(&pread64)>("pread64");
    struct stat64 read = {}, fork = {};
    if (s_onRead && ::fstat64(file, &read) == 0) {
        for (const auto &[identity, each] : s_forks) {
            if (systemStat(AT_FDCWD, each.path.c_str(), &fork, 0) == 0 && fork.st_dev == read.st_dev &&
                fork.st_ino == read.st_ino)
                s_onRead(offset);
        }
    }
    return s_call(file, buffer, size, offset);
}

void NamedForks::setOnRead(std::function<void(off_t)> onRead)
{
    s_onRead = std::move(onRead);
}

NamedForks::NamedForks(Path folder)
    : m_folder(std::move(folder))
{
}

NamedForks::~NamedForks()
{
    for (const auto &[identity, fork] : s_forks) {
        ::close(fork.file);
        ::unlink(fork.path.c_str());
    }
    s_forks.clear();
}

void NamedForks::give(const Path &path, ByteView fork)
{
    struct stat status = {};
    const int file = ::open(path.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC);
    if (file < 0 || ::fstat(file, &status) != 0)
        throw std::runtime_error("open " + path.native());
    const std::string kept = m_folder / std::to_string(status.st_ino);
    std::ofstream(kept, std::ios::binary | std::ios::trunc) << stringOf(fork);
    if (const auto old = s_forks.find({status.st_dev, status.st_ino}); old != s_forks.end())
        ::close(old->second.file);
    s_forks[{status.st_dev, status.st_ino}] = {file, kept};
}
