#include "Platform/TreeRemoval.h"

#include "Platform/Linux/Descriptor.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <memory>
#include <vector>

static constexpr int kDirectory = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
static constexpr int kDeepest = 256;

namespace {

enum class Step { Check, Remove };

struct Name
{
    std::string text;
    bool isDirectory = false;
};

} // namespace

/// A part of the same volume can be mounted again, so that the device number alone does not tell.
static bool isMountPoint(const struct statx &status)
{
    return status.stx_attributes & STATX_ATTR_MOUNT_ROOT;
}

static Failure mountedInside()
{
    return {ErrorCode::Busy, EBUSY, "something is mounted inside"};
}

static Result<std::vector<Name>> namesIn(const Descriptor &directory)
{
    Descriptor again(::openat(directory.get(), ".", kDirectory));
    if (!again)
        return Failure::fromErrno(errno, "openat");
    const std::unique_ptr<DIR, int (*)(DIR *)> stream(::fdopendir(again.get()), ::closedir);
    if (!stream)
        return Failure::fromErrno(errno, "fdopendir");
    again.release(); // closed with the stream
    std::vector<Name> names;
    for (;;) {
        errno = 0;
        const dirent *const entry = ::readdir(stream.get());
        if (!entry && errno != 0)
            return Failure::fromErrno(errno, "readdir");
        if (!entry)
            return names;
        const std::string name = entry->d_name;
        if (name == "." || name == "..")
            continue;
        struct statx status = {};
        if (::statx(directory.get(), name.c_str(), AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT, STATX_TYPE, &status) != 0)
            return Failure::fromErrno(errno, "statx", name);
        if (isMountPoint(status))
            return mountedInside();
        names.push_back({name, S_ISDIR(status.stx_mode)});
    }
}

/// Goes through everything below `directory`: to see whether it can be removed, or to remove it.
static Result<void> goThrough(const Descriptor &directory, dev_t device, Step step, int depth)
{
    struct stat status = {};
    if (::fstat(directory.get(), &status) != 0)
        return Failure::fromErrno(errno, "fstat");
    if (status.st_dev != device)
        return mountedInside();
    if (depth > kDeepest)
        return Failure{ErrorCode::TooLarge, 0, "the folders lie too deep in one another"};
    const Result<std::vector<Name>> names = namesIn(directory);
    if (!names)
        return names.failure();
    for (const auto &[name, isDirectory] : *names) {
        if (isDirectory) {
            const Descriptor below(::openat(directory.get(), name.c_str(), kDirectory));
            if (!below)
                return Failure::fromErrno(errno, "openat", name);
            if (Result<void> done = goThrough(below, device, step, depth + 1); !done)
                return done;
        }
        const int flags = isDirectory ? AT_REMOVEDIR : 0;
        if (step == Step::Remove && ::unlinkat(directory.get(), name.c_str(), flags) != 0)
            return Failure::fromErrno(errno, "unlinkat", name);
    }
    return {};
}

Result<void> removeTree(const Path &parent, const std::string &name, const FileIdentity &expected)
{
    const Descriptor above(::open(parent.c_str(), kDirectory));
    if (!above)
        return Failure::fromErrno(errno, "open", parent);
    const Descriptor top(::openat(above.get(), name.c_str(), kDirectory));
    if (!top)
        return Failure::fromErrno(errno, "openat", parent / name);
    struct stat status = {}, around = {};
    if (::fstat(top.get(), &status) != 0 || ::fstat(above.get(), &around) != 0)
        return Failure::fromErrno(errno, "fstat", parent / name);
    struct statx mount = {};
    if (::statx(top.get(), "", AT_EMPTY_PATH, STATX_TYPE, &mount) != 0)
        return Failure::fromErrno(errno, "statx", parent / name);
    if (FileIdentity{status.st_dev, status.st_ino} != expected || around.st_dev != status.st_dev || isMountPoint(mount))
        return Failure{ErrorCode::Busy, 0, "something else is at " + (parent / name).native()};
    for (const Step step : {Step::Check, Step::Remove}) {
        if (Result<void> done = goThrough(top, status.st_dev, step, 0); !done)
            return done;
    }
    if (::unlinkat(above.get(), name.c_str(), AT_REMOVEDIR) != 0)
        return Failure::fromErrno(errno, "unlinkat", parent / name);
    return {};
}
