#include "Platform/Linux/FileLikeness.h"

#include "Platform/Linux/FlagNumber.h"

#include <fcntl.h>
#include <optional>
#include <sys/xattr.h>
#include <unistd.h>

static constexpr std::size_t kLargest = std::size_t{64} << 10; // the kernel's own limit, for a value and for a list
static constexpr char kAccessList[] = "system.posix_acl_access";

/// nullopt where there is none, or the volume has none of this kind.
static Result<std::optional<Bytes>> valueAt(const Path &path, const std::string &name)
{
    Bytes value(kLargest);
    const ssize_t length = ::lgetxattr(path.c_str(), name.c_str(), value.data(), value.size());
    const int failure = errno;
    if (length < 0 && (failure == ENODATA || failure == ENOTSUP))
        return std::optional<Bytes>();
    if (length < 0)
        return Failure::fromErrno(failure, "lgetxattr", path);
    value.resize(std::size_t(length));
    return std::optional(std::move(value));
}

static Result<void> setValue(int descriptor, const std::string &name, const Bytes &value, const Path &path)
{
    Bytes present(value.size() + 1);
    const ssize_t length = ::fgetxattr(descriptor, name.c_str(), present.data(), present.size());
    if (length == ssize_t(value.size()) && std::equal(value.begin(), value.end(), present.begin()))
        return {};
    if (::fsetxattr(descriptor, name.c_str(), value.data(), value.size(), 0) != 0)
        return Failure::fromErrno(errno, "fsetxattr " + name, path);
    return {};
}

static Result<void> giveAccessList(int descriptor, const Path &path, const Path &original)
{
    const Result<std::optional<Bytes>> list = valueAt(original, kAccessList);
    if (!list)
        return list.failure();
    if (*list)
        return setValue(descriptor, kAccessList, **list, path);
    // One that the folder hands down to whatever is made in it.
    if (::fremovexattr(descriptor, kAccessList) != 0 && errno != ENODATA && errno != ENOTSUP)
        return Failure::fromErrno(errno, "fremovexattr", path);
    return {};
}

static bool isLabel(const std::string &name)
{
    // Two of them are sums over the content, which the kernel takes anew.
    return name.starts_with("security.") && name != "security.ima" && name != "security.evm";
}

static Result<void> giveLabels(int descriptor, const Path &path, const Path &original)
{
    std::string list(kLargest, '\0');
    const ssize_t length = ::llistxattr(original.c_str(), list.data(), list.size());
    const int failure = errno;
    if (length < 0 && failure == ENOTSUP)
        return {};
    if (length < 0)
        return Failure::fromErrno(failure, "llistxattr", original);
    list.resize(std::size_t(length));
    for (std::size_t begin = 0; begin < list.size();) {
        const std::string name = list.c_str() + begin;
        begin += name.size() + 1;
        if (!isLabel(name))
            continue;
        const Result<std::optional<Bytes>> value = valueAt(original, name);
        if (!value)
            return value.failure();
        if (!*value)
            continue;
        if (Result<void> set = setValue(descriptor, name, **value, path); !set)
            return set;
    }
    return {};
}

/// Whose it is comes first: a change of owner takes rights away that the mode gives.
static Result<void> giveOwnerAndMode(int descriptor, const Path &path, const Path &original, const struct stat &status)
{
    struct stat made = {};
    if (::fstat(descriptor, &made) != 0)
        return Failure::fromErrno(errno, "fstat", path);
    const bool isOthers = made.st_uid != status.st_uid || made.st_gid != status.st_gid;
    if (isOthers && ::fchown(descriptor, status.st_uid, status.st_gid) != 0)
        return Failure::fromErrno(errno, "fchown", path);
    if (Result<void> given = giveAccessList(descriptor, path, original); !given)
        return given;
    if (::fchmod(descriptor, status.st_mode & 07777) != 0)
        return Failure::fromErrno(errno, "fchmod", path);
    return {};
}

Result<void> FileLikeness::give(int descriptor, const Path &path, const Path &original, const struct stat &status)
{
    const Result<void> unflagged = FlagNumber::write(descriptor, 0);
    if (!unflagged && unflagged.failure().code != ErrorCode::NotSupported) // no number can make it a compressed one
        return unflagged;
    if (Result<void> given = giveOwnerAndMode(descriptor, path, original, status); !given)
        return given;
    if (Result<void> given = giveLabels(descriptor, path, original); !given)
        return given;
    const timespec times[2] = {status.st_atim, status.st_mtim};
    if (::futimens(descriptor, times) != 0)
        return Failure::fromErrno(errno, "futimens", path);
    return {};
}
