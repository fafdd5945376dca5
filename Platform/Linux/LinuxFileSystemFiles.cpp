#include "Platform/Linux/FileCalls.h"
#include "Platform/Linux/LinuxFileSystem.h"
#include "Platform/Linux/NewFile.h"

#include <algorithm>
#include <dirent.h>
#include <fcntl.h>

Result<FileStatus> LinuxFileSystem::status(const Path &path, Links links) const
{
    struct stat status = {};
    const int flags = links == Links::NotFollow ? AT_SYMLINK_NOFOLLOW : 0;
    if (::fstatat(AT_FDCWD, path.c_str(), &status, flags) != 0)
        return Failure::fromErrno(errno, "stat", path);
    return FileCalls::statusFrom(status);
}

Result<bool> LinuxFileSystem::isWritable(const Path &path) const
{
    if (::access(path.c_str(), W_OK) == 0)
        return true;
    const int failure = errno;
    if (failure == EACCES || failure == EPERM || failure == EROFS || failure == ETXTBSY)
        return false;
    return Failure::fromErrno(failure, "access", path);
}

Result<Bytes> LinuxFileSystem::readFile(const Path &path, ByteCount limit) const
{
    struct stat status = {};
    const Result<Descriptor> file = FileCalls::openForReading(path, Links::Follow, status);
    if (!file)
        return file.failure();
    return FileCalls::readAll(file->get(), limit, path);
}

/// Gives the new file what users see of the old one's access. A file of another owner becomes the writer's where only
/// its owner could say otherwise.
static Result<void> keepAccess(const NewFile &file, const struct stat &old, const Path &path)
{
    struct stat made = {};
    if (::fstat(file.descriptor(), &made) != 0)
        return Failure::fromErrno(errno, "fstat", path);
    mode_t mode = old.st_mode & 07777;
    const bool isOthers = made.st_uid != old.st_uid || made.st_gid != old.st_gid;
    if (isOthers && ::fchown(file.descriptor(), old.st_uid, old.st_gid) != 0)
        mode &= ~mode_t(S_ISUID | S_ISGID);
    if (::fchmod(file.descriptor(), mode) != 0)
        return Failure::fromErrno(errno, "fchmod", path);
    return {};
}

Result<void> LinuxFileSystem::replaceFile(const Path &path, ByteView content, std::uint32_t mode)
{
    struct stat old = {};
    const bool isThere = ::lstat(path.c_str(), &old) == 0;
    if (const int failure = errno; !isThere && failure != ENOENT)
        return Failure::fromErrno(failure, "lstat", path);
    if (isThere && !S_ISREG(old.st_mode))
        return Failure{ErrorCode::NotSupported, 0, path.native() + " is not a regular file"};
    Result<NewFile> file = NewFile::beside(path, mode);
    if (!file)
        return file.failure();
    if (isThere) {
        if (Result<void> kept = keepAccess(*file, old, path); !kept)
            return kept;
    }
    if (Result<void> written = file->write(content); !written)
        return written;
    return file->replace();
}

Result<void> LinuxFileSystem::createFile(const Path &path, ByteView content, std::uint32_t mode)
{
    Result<NewFile> file = NewFile::beside(path, mode);
    if (!file)
        return file.failure();
    if (Result<void> written = file->write(content); !written)
        return written;
    return file->appear();
}

Result<void> LinuxFileSystem::makeDirectory(const Path &path, std::uint32_t mode)
{
    if (::mkdir(path.c_str(), mode) != 0)
        return Failure::fromErrno(errno, "mkdir", path);
    return {};
}

Result<void> LinuxFileSystem::moveWithoutReplacing(const Path &from, const Path &to)
{
    return FileCalls::moveWithoutReplacing(AT_FDCWD, from, to);
}

Result<void> LinuxFileSystem::removeFile(const Path &path)
{
    if (::unlink(path.c_str()) != 0)
        return Failure::fromErrno(errno, "unlink", path);
    return {};
}

Result<std::vector<std::string>> LinuxFileSystem::entries(const Path &directory) const
{
    struct stat status = {};
    if (::stat(directory.c_str(), &status) != 0)
        return Failure::fromErrno(errno, "stat", directory);
    if (!S_ISDIR(status.st_mode))
        return Failure{ErrorCode::NotSupported, ENOTDIR, directory.native() + " is not a directory"};
    const std::unique_ptr<DIR, int (*)(DIR *)> stream(::opendir(directory.c_str()), ::closedir);
    if (!stream)
        return Failure::fromErrno(errno, "opendir", directory);
    std::vector<std::string> names;
    for (;;) {
        errno = 0;
        const dirent *entry = ::readdir(stream.get());
        if (!entry && errno != 0)
            return Failure::fromErrno(errno, "readdir", directory);
        if (!entry)
            break;
        const std::string name = entry->d_name;
        if (name != "." && name != "..")
            names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}
