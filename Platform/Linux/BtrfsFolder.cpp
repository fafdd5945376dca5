#include "Platform/Linux/BtrfsFolder.h"

#include "Platform/Linux/FileCalls.h"

#include <array>
#include <ctime>
#include <fcntl.h>
#include <linux/fs.h>
#include <sstream>
#include <sys/ioctl.h>
#include <sys/xattr.h>

static constexpr char kProperty[] = "btrfs.compression";
static constexpr char kMark[] = "user.tamsel.compression";
static constexpr char kAlgorithm[] = "zstd";
static constexpr char kBegun[] = "begun";

using FolderState = TransparentCompression::FolderState;

BtrfsFolder::BtrfsFolder(Descriptor descriptor, Path path)
    : m_descriptor(std::move(descriptor))
    , m_path(std::move(path))
{
}

Result<BtrfsFolder> BtrfsFolder::open(const Path &path)
{
    Descriptor folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
    if (!folder) {
        const int failure = errno;
        if (failure == ENOTDIR || failure == ELOOP)
            return Failure{ErrorCode::NotSupported, failure, path.native() + " is no folder"};
        return Failure::fromErrno(failure, "open", path);
    }
    struct stat status = {};
    if (::fstat(folder.get(), &status) != 0)
        return Failure::fromErrno(errno, "fstat", path);
    if (status.st_uid != ::geteuid()) // whoever may write into it could set the property
        return Failure{ErrorCode::Permission, EPERM, path.native() + " is another user's folder"};
    return BtrfsFolder(std::move(folder), path);
}

/// nullopt where there is none.
Result<std::optional<std::string>> BtrfsFolder::value(int folder, const char *name, const Path &path)
{
    std::array<char, 256> text = {};
    const ssize_t length = ::fgetxattr(folder, name, text.data(), text.size());
    const int failure = errno;
    if (length < 0 && failure == ENODATA)
        return std::optional<std::string>();
    if (length < 0)
        return Failure::fromErrno(failure, "fgetxattr", path);
    return std::optional(std::string(text.data(), std::size_t(length)));
}

/// One that says nothing known was begun, for all that can be told.
Result<std::optional<BtrfsFolder::Mark>> BtrfsFolder::markOf(int folder, const Path &path)
{
    const Result<std::optional<std::string>> text = value(folder, kMark, path);
    if (!text)
        return text.failure();
    if (!*text)
        return std::optional<Mark>();
    std::istringstream words(**text);
    std::string stage;
    Mark mark;
    if (words >> stage >> mark.since)
        mark.isDone = stage == kAlgorithm;
    return std::optional(mark);
}

/// Some kernels keep a final zero.
Result<std::optional<std::string>> BtrfsFolder::property() const
{
    Result<std::optional<std::string>> property = value(m_descriptor.get(), kProperty, m_path);
    if (property && *property)
        **property = (*property)->c_str();
    return property;
}

Result<void> BtrfsFolder::set(const char *name, const std::string &value) const
{
    if (::fsetxattr(m_descriptor.get(), name, value.data(), value.size(), 0) != 0)
        return Failure::fromErrno(errno, std::string("fsetxattr ") + name, m_path);
    return {};
}

Result<void> BtrfsFolder::setMark(const char *stage, std::int64_t since) const
{
    return set(kMark, std::string(stage) + ' ' + std::to_string(since));
}

Result<void> BtrfsFolder::remove(const char *name) const
{
    if (::fremovexattr(m_descriptor.get(), name) != 0 && errno != ENODATA)
        return Failure::fromErrno(errno, std::string("fremovexattr ") + name, m_path);
    return {};
}

/// Whether what is made in the folder is not to be compressed, or cannot be.
Result<bool> BtrfsFolder::isOtherwiseWanted() const
{
    int flags = 0;
    if (::ioctl(m_descriptor.get(), FS_IOC_GETFLAGS, &flags) != 0)
        return Failure::fromErrno(errno, "FS_IOC_GETFLAGS", m_path);
    return (unsigned(flags) & (FS_NOCOMP_FL | FS_NOCOW_FL)) != 0;
}

/// When the folder was made, if it has its property from the one around it, which had it from us by then.
Result<std::optional<std::int64_t>> BtrfsFolder::handedDownSince() const
{
    struct statx made = {};
    if (::statx(m_descriptor.get(), "", AT_EMPTY_PATH, STATX_BTIME, &made) != 0)
        return Failure::fromErrno(errno, "statx", m_path);
    const Descriptor parent(::openat(m_descriptor.get(), "..", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!parent || !(made.stx_mask & STATX_BTIME))
        return std::optional<std::int64_t>(); // nothing was done to one that cannot be read
    const Result<std::optional<Mark>> mark = markOf(parent.get(), m_path.parent_path());
    if (!mark && mark.failure().code != ErrorCode::NotSupported) // another volume may be around this one
        return mark.failure();
    if (!mark || !*mark || !(*mark)->isDone || made.stx_btime.tv_sec < (*mark)->since)
        return std::optional<std::int64_t>();
    return std::optional<std::int64_t>(made.stx_btime.tv_sec);
}

Result<FolderState> BtrfsFolder::turnOn()
{
    const Result<std::optional<Mark>> mark = markOf(m_descriptor.get(), m_path);
    if (!mark)
        return mark.failure();
    const Result<std::optional<std::string>> property = this->property();
    if (!property)
        return property.failure();
    if (*mark && (*mark)->isDone)
        return *property == kAlgorithm ? FolderState::TurnedOn : FolderState::LeftAlone;
    const Result<bool> isOtherwiseWanted = this->isOtherwiseWanted();
    if (!isOtherwiseWanted)
        return isOtherwiseWanted.failure();
    if (*isOtherwiseWanted)
        return FolderState::LeftAlone;
    if (!*property)
        return begin(*mark && (*mark)->since != 0 ? (*mark)->since : std::time(nullptr));
    if (*property != kAlgorithm)
        return FolderState::WasOn;
    if (*mark)
        return finish((*mark)->since);
    const Result<std::optional<std::int64_t>> handedDown = handedDownSince();
    if (!handedDown)
        return handedDown.failure();
    return *handedDown ? finish(**handedDown) : FolderState::WasOn;
}

Result<FolderState> BtrfsFolder::begin(std::int64_t since) const
{
    if (const Result<void> marked = setMark(kBegun, since); !marked)
        return marked.failure();
    if (const Result<void> done = set(kProperty, kAlgorithm); !done) {
        (void)remove(kMark);
        return done.failure();
    }
    return finish(since);
}

Result<FolderState> BtrfsFolder::finish(std::int64_t since) const
{
    const Result<void> marked = setMark(kAlgorithm, since);
    if (!marked)
        return marked.failure();
    return FolderState::TurnedOn;
}

Result<bool> BtrfsFolder::isTurnedOn() const
{
    const Result<std::optional<Mark>> mark = markOf(m_descriptor.get(), m_path);
    if (!mark)
        return mark.failure();
    if (*mark)
        return true;
    const Result<std::optional<std::string>> property = this->property();
    if (!property)
        return property.failure();
    if (*property != kAlgorithm)
        return false;
    const Result<std::optional<std::int64_t>> handedDown = handedDownSince();
    if (!handedDown)
        return handedDown.failure();
    return handedDown->has_value();
}

Result<bool> BtrfsFolder::turnOff()
{
    const Result<bool> isTurnedOn = this->isTurnedOn();
    if (!isTurnedOn || !*isTurnedOn)
        return isTurnedOn;
    const Result<std::optional<std::string>> property = this->property();
    if (!property)
        return property.failure();
    if (const Result<void> removed = *property == kAlgorithm ? remove(kProperty) : Result<void>(); !removed)
        return removed.failure();
    if (const Result<void> removed = remove(kMark); !removed)
        return removed.failure();
    return true;
}
