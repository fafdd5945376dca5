#include "Platform/Linux/LinuxUserFolders.h"

#include "Platform/Linux/Descriptor.h"

#include <cerrno>
#include <cstdlib>
#include <initializer_list>
#include <vector>

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

static constexpr mode_t kPrivate = 0700;

/// The folder named by an environment variable; empty when it names none. The desktop's rules tell us to ignore what is
/// not absolute.
static Path folderFromEnvironment(const char *variable)
{
    const char *const value = std::getenv(variable);
    return value && *value == '/' ? Path(value) : Path();
}

/// Makes the directory with all that is missing above it.
static Result<void> makeDirectories(const Path &directory)
{
    if (::mkdir(directory.c_str(), kPrivate) == 0)
        return {};
    int failure = errno;
    if (failure == ENOENT && directory.has_relative_path()) {
        if (Result<void> made = makeDirectories(directory.parent_path()); !made)
            return made;
        if (::mkdir(directory.c_str(), kPrivate) == 0)
            return {};
        failure = errno;
    }
    std::error_code ignored;
    if (std::filesystem::is_directory(directory, ignored))
        return {};
    // What stands in the way is no reason to say that the user has no such directory.
    if (failure == EEXIST || failure == ENOTDIR)
        return Failure{ErrorCode::Io, ENOTDIR, "mkdir " + directory.native() + ": not a directory"};
    return Failure::fromErrno(failure, "mkdir", directory);
}

/// Makes the two or three directories `names`, each in the one before, below `base`, which must exist.
static Result<Path> makeBelow(Path base, std::initializer_list<const char *> names)
{
    std::error_code ignored;
    if (!std::filesystem::is_directory(base, ignored))
        return Failure::fromErrno(ENOENT, "find", base);
    for (const char *const name : names) {
        base /= name;
        if (Result<void> made = makeDirectories(base); !made)
            return made.failure();
    }
    return base;
}

/// Makes `directory` when it is missing, and answers it with a slash at its end when it is private and programs may be
/// run in it. Others may have prepared something under that name, so it is judged by its descriptor.
static Result<Path> privateDirectory(const Path &directory)
{
    if (::mkdir(directory.c_str(), kPrivate) != 0 && errno != EEXIST)
        return Failure::fromErrno(errno, "mkdir", directory);
    const Descriptor opened(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!opened)
        return Failure::fromErrno(errno, "open", directory);
    struct stat status = {};
    struct statvfs volume = {};
    if (::fstat(opened.get(), &status) != 0 || ::fstatvfs(opened.get(), &volume) != 0)
        return Failure::fromErrno(errno, "examine", directory);
    if (status.st_uid != ::geteuid() || (status.st_mode & ACCESSPERMS) != kPrivate)
        return Failure{ErrorCode::Permission, 0, "not a private directory: " + directory.native()};
    if (volume.f_flag & ST_NOEXEC)
        return Failure{ErrorCode::NotSupported, 0, "no program may be run in " + directory.native()};
    return directory / "";
}

Result<Path> LinuxUserFolders::applicationSupport() const
{
    if (const Path folder = folderFromEnvironment("XDG_DATA_HOME"); !folder.empty()) {
        if (Result<void> made = makeDirectories(folder.has_filename() ? folder : folder.parent_path()); !made)
            return made.failure();
        return folder;
    }
    const Result<Path> user = home();
    return user ? makeBelow(*user, {".local", "share"}) : user;
}

Result<Path> LinuxUserFolders::home() const
{
    if (Path folder = folderFromEnvironment("HOME"); !folder.empty())
        return folder;
    passwd entry = {};
    passwd *found = nullptr;
    std::vector<char> buffer(1024);
    int failure = 0;
    while ((failure = ::getpwuid_r(::geteuid(), &entry, buffer.data(), buffer.size(), &found)) == ERANGE)
        buffer.resize(buffer.size() * 2);
    if (failure != 0)
        return Failure::fromErrno(failure, "getpwuid_r");
    if (!found || !found->pw_dir || *found->pw_dir != '/')
        return Failure{ErrorCode::NotFound, 0, "the user has no home directory"};
    return Path(found->pw_dir);
}

Result<Path> LinuxUserFolders::temporary() const
{
    Path base = folderFromEnvironment("TMPDIR");
    std::error_code ignored;
    if (base.empty() || !std::filesystem::is_directory(base, ignored))
        base = "/tmp";
    if (Result<Path> folder = privateDirectory(base / ("tamsel-" + std::to_string(::geteuid()))))
        return folder;
    if (const Path runtime = folderFromEnvironment("XDG_RUNTIME_DIR"); !runtime.empty()) {
        if (Result<Path> folder = privateDirectory(runtime / "tamsel"))
            return folder;
    }
    const Result<Path> user = home();
    if (!user)
        return user;
    const Result<Path> cache = makeBelow(*user, {".cache", "tamsel"});
    return cache ? privateDirectory(*cache / "tmp") : cache;
}
