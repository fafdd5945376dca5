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

static constexpr ByteCount kLargestCopy = 256u << 20;

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

/// What stands at `path`. Errors: NotFound, NotSupported when it is no regular file.
static Result<struct stat> statusOfRegularFile(const Path &path)
{
    struct stat status = {};
    if (::lstat(path.c_str(), &status) != 0)
        return Failure::fromErrno(errno, "lstat", path);
    if (!S_ISREG(status.st_mode))
        return Failure{ErrorCode::NotSupported, 0, path.native() + " is not a regular file"};
    return status;
}

/// The whole file, in the making.
static Result<NewFile> makeWhole(const Path &path, ByteView content, std::uint32_t mode)
{
    Result<NewFile> file = NewFile::beside(path, mode);
    if (const Result<void> written = file ? file->write(content) : Result<void>(); !written)
        return written.failure();
    return file;
}

/// The same, to replace `old`.
static Result<NewFile> makeInPlaceOf(const struct stat &old, const Path &path, ByteView content)
{
    Result<NewFile> file = makeWhole(path, content, 0600);
    if (const Result<void> kept = file ? keepAccess(*file, old, path) : Result<void>(); !kept)
        return kept.failure();
    return file;
}

Result<void> LinuxFileSystem::replaceFile(const Path &path, ByteView content, std::uint32_t mode)
{
    const Result<struct stat> old = statusOfRegularFile(path);
    if (!old && old.failure().code != ErrorCode::NotFound)
        return old.failure();
    Result<NewFile> file = old ? makeInPlaceOf(*old, path, content) : makeWhole(path, content, mode);
    return file ? file->replace() : Result<void>(file.failure());
}

Result<void> LinuxFileSystem::replaceFileKeepingOld(const Path &path, ByteView content, const Path &kept)
{
    const Result<struct stat> old = statusOfRegularFile(path);
    if (!old)
        return old.failure();
    Result<NewFile> file = makeInPlaceOf(*old, path, content);
    const Result<void> replaced = file ? file->replaceKeepingOld(kept) : Result<void>(file.failure());
    if (replaced || replaced.failure().code != ErrorCode::NotSupported)
        return replaced;
    // The volume cannot exchange them. What is put there after the copy was made is lost.
    const Result<Bytes> copy = readFile(path, kLargestCopy);
    const Result<void> copied = copy ? createFile(kept, *copy, old->st_mode & 0777) : Result<void>(copy.failure());
    if (!copied)
        return copied;
    Result<void> replacedAfterAll = replaceFile(path, content, 0600);
    if (!replacedAfterAll) {
        const Result<Bytes> now = readFile(path, kLargestCopy);
        if (now && *now == *copy)
            (void)removeFile(kept); // a copy of what is still there
    }
    return replacedAfterAll;
}

Result<void> LinuxFileSystem::createFile(const Path &path, ByteView content, std::uint32_t mode)
{
    Result<NewFile> file = makeWhole(path, content, mode);
    return file ? file->appear() : Result<void>(file.failure());
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
