#include "Platform/Linux/Companion.h"
#include "Platform/Linux/ExtendedAttributes.h"
#include "Platform/Linux/FlagNumber.h"
#include "Platform/Linux/LinuxFileSystem.h"

#include <algorithm>

namespace {

/// A file whose attributes are wanted: with links followed its companion is the target's.
struct AttributedFile
{
    Path path;
    struct stat status = {};
};

} // namespace

static Result<AttributedFile> reach(const Path &path, Links links)
{
    AttributedFile file{path};
    if (::lstat(path.c_str(), &file.status) != 0)
        return Failure::fromErrno(errno, "lstat", path);
    if (links == Links::NotFollow || !S_ISLNK(file.status.st_mode))
        return file;
    std::error_code failure;
    file.path = std::filesystem::canonical(path, failure);
    if (failure)
        return Failure::fromErrno(failure.value(), "canonical", path);
    if (::lstat(file.path.c_str(), &file.status) != 0)
        return Failure::fromErrno(errno, "lstat", file.path);
    return file;
}

static Failure noSuchAttribute(const Path &path, const std::string &name)
{
    return {ErrorCode::NotFound, ENODATA, path.native() + " has no attribute " + name};
}

Result<std::vector<std::string>> LinuxFileSystem::attributeNames(const Path &path, Links links) const
{
    const Result<AttributedFile> file = reach(path, links);
    if (!file)
        return file.failure();
    Result<std::vector<std::string>> names = ExtendedAttributes::names(file->path);
    if (!names)
        return names;
    std::erase(*names, FlagNumber::kAttribute);
    if (S_ISLNK(file->status.st_mode))
        return names;
    const Result<Companion> companion = Companion::open(file->path, file->status);
    if (!companion && companion.failure().code == ErrorCode::NotFound)
        return names;
    if (!companion)
        return companion.failure();
    for (const auto &attribute : companion->layout().attributes) {
        if (std::find(names->begin(), names->end(), attribute.name) == names->end() &&
            attribute.name != FlagNumber::kAttribute)
            names->push_back(attribute.name);
    }
    return names;
}

Result<Bytes> LinuxFileSystem::attribute(const Path &path, const std::string &name, Links links) const
{
    const Result<AttributedFile> file = reach(path, links);
    if (!file)
        return file.failure();
    if (name == FlagNumber::kAttribute)
        return noSuchAttribute(path, name);
    Result<Bytes> value = ExtendedAttributes::value(file->path, name);
    if (value || value.failure().code != ErrorCode::NotFound || S_ISLNK(file->status.st_mode))
        return value;
    const Result<Companion> companion = Companion::open(file->path, file->status);
    return companion ? companion->attribute(name) : companion.failure();
}

/// Whether a larger place could hold what the kernel refused.
static bool doesNotFit(const Failure &failure)
{
    return failure.code == ErrorCode::NoSpace || failure.code == ErrorCode::TooLarge;
}

Result<void> LinuxFileSystem::setAttribute(const Path &path, const std::string &name, ByteView value, Links links)
{
    const Result<AttributedFile> file = reach(path, links);
    if (!file)
        return file.failure();
    if (name.empty() || name == FlagNumber::kAttribute)
        return Failure::fromErrno(EPERM, "attribute " + name, path);
    if (value.size() > ExtendedAttributes::kLargestValue)
        return Failure::fromErrno(E2BIG, "attribute " + name, path);
    Result<void> done = ExtendedAttributes::set(file->path, name, value);
    if (done || !doesNotFit(done.failure()) || S_ISLNK(file->status.st_mode))
        return done;
    // The companion belongs to one name only: the others would not see what is kept there.
    if (S_ISREG(file->status.st_mode) && file->status.st_nlink > 1)
        return done;
    if (Result<void> kept =
            Companion::setAttributes(file->path, file->status, {{name, Bytes(value.begin(), value.end())}});
        !kept)
        return kept;
    // An older value in the first place would hide the new one.
    const Result<void> removed = ExtendedAttributes::remove(file->path, name);
    if (!removed && removed.failure().code != ErrorCode::NotFound)
        return removed;
    return {};
}

Result<void> LinuxFileSystem::removeAttribute(const Path &path, const std::string &name, Links links)
{
    const Result<AttributedFile> file = reach(path, links);
    if (!file)
        return file.failure();
    if (name == FlagNumber::kAttribute)
        return noSuchAttribute(path, name);
    // The companion first: as long as the other one stands, it is the value.
    bool wasThere = false;
    if (!S_ISLNK(file->status.st_mode)) {
        const Result<void> removed = Companion::removeAttribute(file->path, file->status, name);
        if (!removed && removed.failure().code != ErrorCode::NotFound)
            return removed;
        wasThere = bool(removed);
    }
    Result<void> removed = ExtendedAttributes::remove(file->path, name);
    if (!removed && removed.failure().code == ErrorCode::NotFound && wasThere)
        return {};
    return removed;
}
