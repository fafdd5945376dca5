#include "Platform/Linux/Companion.h"
#include "Platform/Linux/ExtendedAttributes.h"
#include "Platform/Linux/FileCalls.h"
#include "Platform/Linux/FlagNumber.h"
#include "Platform/Linux/LinuxFileSystem.h"
#include "Platform/Linux/NewFile.h"

#include <fcntl.h>

/// Where only root may give a file away it stays the maker's, as a copy does, and runs with nobody else's rights.
static Result<void> giveStatus(const NewFile &file, const FileStatus &like, mode_t mode, const Path &path)
{
    struct stat made = {};
    if (::fstat(file.descriptor(), &made) != 0)
        return Failure::fromErrno(errno, "fstat", path);
    const bool isOthers = made.st_uid != like.owner || made.st_gid != like.group;
    if (isOthers && ::fchown(file.descriptor(), like.owner, like.group) != 0) {
        if (errno != EPERM)
            return Failure::fromErrno(errno, "fchown", path);
        mode &= ~mode_t(S_ISUID | S_ISGID);
    }
    if (::fchmod(file.descriptor(), mode) != 0)
        return Failure::fromErrno(errno, "fchmod", path);
    const timespec modified = {like.modified, long(like.modifiedNanoseconds)};
    const timespec times[2] = {modified, modified};
    if (::futimens(file.descriptor(), times) != 0)
        return Failure::fromErrno(errno, "futimens", path);
    return {};
}

/// Answers which file it is, by whatever name.
static Result<FileIdentity> makeCompanion(const Path &path, const NewForkedFile &file)
{
    const Result<Bytes> head = appleDoubleHead({}, file.fork.size());
    if (!head)
        return head.failure();
    Result<NewFile> made = NewFile::beside(path, 0600);
    if (!made)
        return made.failure();
    if (Result<void> written = made->write(*head); !written)
        return written.failure();
    if (Result<void> written = made->write(file.fork); !written)
        return written.failure();
    constexpr mode_t kNoExecution = 0666; // a companion is never a program
    if (Result<void> given = giveStatus(*made, file.like, file.like.mode & kNoExecution, path); !given)
        return given.failure();
    struct stat status = {};
    if (::fstat(made->descriptor(), &status) != 0)
        return Failure::fromErrno(errno, "fstat", path);
    if (Result<void> appeared = made->appear(); !appeared)
        return appeared.failure();
    return FileCalls::statusFrom(status).identity;
}

/// Leaves what another process has put in its place meanwhile.
static void removeIfStill(const FileIdentity &identity, const Path &path)
{
    struct stat now = {};
    if (::lstat(path.c_str(), &now) == 0 && FileCalls::statusFrom(now).identity == identity)
        ::unlink(path.c_str());
}

static Result<void> makeFile(const Path &path, const NewForkedFile &file)
{
    Result<NewFile> made = NewFile::beside(path, 0600);
    if (!made)
        return made.failure();
    for (const auto &[name, value] : file.attributes) {
        if (Result<void> set = ExtendedAttributes::set(made->path(), name, value); !set)
            return set;
    }
    if (Result<void> set = FlagNumber::write(made->path(), file.flags); !set)
        return set;
    if (Result<void> given = giveStatus(*made, file.like, file.like.mode, path); !given)
        return given;
    return made->appear();
}

Result<void> LinuxFileSystem::createForkedFile(const Path &path, const NewForkedFile &file)
{
    constexpr std::size_t kLongestName = 253; // its companion's name has two bytes more
    if (path.filename().native().size() > kLongestName)
        return Failure::fromErrno(ENAMETOOLONG, "forked file", path);
    struct stat status = {};
    if (::lstat(path.c_str(), &status) == 0)
        return Failure::fromErrno(EEXIST, "forked file", path);
    const Path companion = Companion::pathOf(path);
    const Result<FileIdentity> fork = makeCompanion(companion, file);
    if (!fork)
        return fork.failure();
    Result<void> made = makeFile(path, file);
    if (!made)
        removeIfStill(*fork, companion);
    return made;
}

Result<void> LinuxFileSystem::removeForkedFile(const Path &path)
{
    struct stat status = {};
    if (::lstat(path.c_str(), &status) != 0)
        return Failure::fromErrno(errno, "lstat", path);
    const bool hasCompanion = bool(Companion::open(path, status));
    if (Result<void> removed = removeFile(path); !removed)
        return removed;
    if (hasCompanion)
        return removeFile(Companion::pathOf(path));
    return {};
}
