#include "Platform/Linux/ExtendedAttributes.h"

#include "Platform/Linux/Descriptor.h"

#include <cstdint>
#include <fcntl.h>
#include <linux/magic.h>
#include <sys/vfs.h>
#include <sys/xattr.h>

/// What stands before every name: a mounted Mac volume shows its own attributes below "osx.".
static std::string prefixOn(const struct statfs &volume)
{
    constexpr std::uint32_t kHfsPlusMagic = 0x482B;
    return std::uint32_t(volume.f_type) == kHfsPlusMagic ? "osx." : "user.";
}

static std::string prefixOn(const Path &path)
{
    // Of a link its own volume, not its target's, which may be on a machine that does not answer.
    const Descriptor file(::open(path.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    struct statfs volume = {};
    return file && ::fstatfs(file.get(), &volume) == 0 ? prefixOn(volume) : "user.";
}

Result<std::vector<std::string>> ExtendedAttributes::names(const Path &path)
{
    constexpr std::size_t kLargestList = std::size_t{64} << 10; // the kernel's own limit
    std::string list(kLargestList, '\0');
    const ssize_t length = ::llistxattr(path.c_str(), list.data(), list.size());
    const int failure = errno;
    if (length < 0 && failure == ENOTSUP)
        return std::vector<std::string>();
    if (length < 0)
        return Failure::fromErrno(failure, "llistxattr", path);
    list.resize(std::size_t(length));
    const std::string prefix = prefixOn(path);
    std::vector<std::string> names;
    for (std::size_t begin = 0; begin < list.size();) {
        const std::string name = list.c_str() + begin;
        begin += name.size() + 1;
        if (name.size() > prefix.size() && name.starts_with(prefix))
            names.push_back(name.substr(prefix.size()));
    }
    return names;
}

Result<Bytes> ExtendedAttributes::value(const Path &path, const std::string &name)
{
    const std::string full = prefixOn(path) + name;
    Bytes value(kLargestValue);
    const ssize_t length = ::lgetxattr(path.c_str(), full.c_str(), value.data(), value.size());
    const int failure = errno;
    if (length < 0 && (failure == ENOTSUP || failure == EPERM)) // a link can have none
        return Failure{ErrorCode::NotFound, ENODATA, path.native() + " can have no attributes"};
    if (length < 0)
        return Failure::fromErrno(failure, "lgetxattr", path);
    value.resize(std::size_t(length));
    value.shrink_to_fit();
    return value;
}

Result<void> ExtendedAttributes::set(const Path &path, const std::string &name, ByteView value)
{
    const std::string full = prefixOn(path) + name;
    if (::lsetxattr(path.c_str(), full.c_str(), value.data(), value.size(), 0) != 0)
        return Failure::fromErrno(errno, "lsetxattr", path);
    return {};
}

Result<void> ExtendedAttributes::set(int descriptor, const std::string &name, ByteView value)
{
    struct statfs volume = {};
    if (::fstatfs(descriptor, &volume) != 0)
        return Failure::fromErrno(errno, "fstatfs");
    const std::string full = prefixOn(volume) + name;
    if (::fsetxattr(descriptor, full.c_str(), value.data(), value.size(), 0) != 0)
        return Failure::fromErrno(errno, "fsetxattr");
    return {};
}

Result<void> ExtendedAttributes::remove(const Path &path, const std::string &name)
{
    const std::string full = prefixOn(path) + name;
    if (::lremovexattr(path.c_str(), full.c_str()) != 0)
        return Failure::fromErrno(errno, "lremovexattr", path);
    return {};
}
