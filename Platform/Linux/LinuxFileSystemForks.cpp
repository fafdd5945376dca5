#include "Platform/Formats/CompressedFile.h"
#include "Platform/Formats/MemoryFork.h"
#include "Platform/Linux/Companion.h"
#include "Platform/Linux/CompanionFork.h"
#include "Platform/Linux/ExtendedAttributes.h"
#include "Platform/Linux/FileCalls.h"
#include "Platform/Linux/FlagNumber.h"
#include "Platform/Linux/LinuxFileSystem.h"
#include "Platform/Linux/VolumeCompression.h"

static Result<struct stat> statusOf(const Path &path)
{
    struct stat status = {};
    if (::lstat(path.c_str(), &status) != 0)
        return Failure::fromErrno(errno, "lstat", path);
    return status;
}

/// The fork of a file on a volume that has forks.
static std::unique_ptr<ReadableFork> namedFork(const Path &path)
{
    struct stat status = {};
    Result<Descriptor> fork = FileCalls::openForReading(path / "..namedfork/rsrc", Links::NotFollow, status);
    if (!fork || status.st_size == 0)
        return nullptr;
    return std::make_unique<DescriptorFork>(std::make_shared<const Descriptor>(std::move(*fork)), 0,
                                            ByteCount(status.st_size));
}

Result<std::unique_ptr<ReadableFork>> LinuxFileSystem::openResourceFork(const Path &path) const
{
    const Result<struct stat> status = statusOf(path);
    if (!status)
        return status.failure();
    const Failure none{ErrorCode::NotFound, ENODATA, path.native() + " has no resource fork"};
    if (!S_ISREG(status->st_mode))
        return none;
    if (std::unique_ptr<ReadableFork> fork = namedFork(path))
        return fork;
    const Result<Companion> companion = Companion::open(path, *status);
    if (!companion && companion.failure().code != ErrorCode::NotFound)
        return companion.failure();
    if (companion) {
        if (std::unique_ptr<ReadableFork> fork = companion->resourceFork())
            return fork;
    }
    Result<Bytes> value = ExtendedAttributes::value(path, kResourceForkAttribute);
    if (value && !value->empty())
        return std::unique_ptr<ReadableFork>(std::make_unique<MemoryFork>(std::move(*value)));
    if (!value && value.failure().code != ErrorCode::NotFound)
        return value.failure();
    return none;
}

/// A program that wrote into the file made it an ordinary one, and a whole walk need not read attributes: only how the
/// volume keeps the content counts.
static Result<std::uint32_t> flagsOfContent(const Path &path, const struct stat &status)
{
    const Result<bool> isCompressed = VolumeCompression::isUsedFor(path, status);
    if (!isCompressed)
        return isCompressed.failure();
    return *isCompressed ? kCompressedFlag : 0u;
}

Result<bool> LinuxFileSystem::isForkShared(const Path &path) const
{
    const Result<struct stat> status = statusOf(path);
    if (!status)
        return status.failure();
    if (!S_ISREG(status->st_mode) || status->st_nlink < 2)
        return false;
    const Result<std::unique_ptr<ReadableFork>> fork = openResourceFork(path);
    if (!fork && fork.failure().code != ErrorCode::NotFound)
        return fork.failure();
    return !fork || dynamic_cast<const CompanionFork *>(fork->get());
}

Result<void> LinuxFileSystem::discardFork(const Path &path, const ReadableFork &fork,
                                          const std::vector<std::string> &names)
{
    const Result<struct stat> status = statusOf(path);
    if (!status)
        return status.failure();
    return Companion::discard(path, *status, fork, names);
}

Result<std::uint32_t> LinuxFileSystem::flags(const Path &path) const
{
    const Result<struct stat> status = statusOf(path);
    if (!status)
        return status.failure();
    const bool isRegular = S_ISREG(status->st_mode);
    if (S_ISLNK(status->st_mode))
        return 0u;
    if (isRegular && status->st_size > 0)
        return flagsOfContent(path, *status);
    const Result<std::optional<std::uint32_t>> number = FlagNumber::read(path);
    if (!number)
        return number.failure();
    if (*number)
        return isRegular ? **number : **number & ~kCompressedFlag;
    if (!isRegular)
        return 0u;
    const Result<bool> isCompressed = cameCompressed(path);
    if (!isCompressed)
        return isCompressed.failure();
    return *isCompressed ? kCompressedFlag : 0u;
}

/// Whether an empty file without flags was compressed on a Mac and copied here with its companion.
Result<bool> LinuxFileSystem::cameCompressed(const Path &path) const
{
    const Result<Bytes> value = attribute(path, kDecmpfsAttribute, Links::NotFollow);
    if (!value && value.failure().code != ErrorCode::NotFound)
        return value.failure();
    const std::optional<HFSPlusDecmpfs> header = value ? readDecmpfs(*value) : std::nullopt;
    if (!header || header->compressionType != kResourceForkCompression)
        return false;
    const Result<std::unique_ptr<ReadableFork>> fork = openResourceFork(path);
    if (!fork && fork.failure().code != ErrorCode::NotFound)
        return fork.failure();
    return bool(fork);
}

Result<void> LinuxFileSystem::setFlags(const Path &path, std::uint32_t flags)
{
    const Result<struct stat> status = statusOf(path);
    if (!status)
        return status.failure();
    const bool hasContent = S_ISREG(status->st_mode) && status->st_size > 0;
    if (hasContent && !(flags & kCompressedFlag)) {
        const Result<bool> isCompressed = VolumeCompression::isUsedFor(path, *status);
        if (isCompressed && *isCompressed) // no number takes that away
            return Failure{ErrorCode::NotSupported, ENOTSUP, path.native() + " is compressed by its volume"};
    }
    return FlagNumber::write(path, flags);
}

Result<ByteCount> LinuxFileSystem::logicalSize(const Path &path) const
{
    const Result<struct stat> status = statusOf(path);
    if (!status)
        return status.failure();
    if (status->st_size > 0) // whatever its volume makes of it
        return ByteCount(status->st_size);
    const Result<std::uint32_t> flags = this->flags(path);
    if (!flags)
        return flags.failure();
    if (!(*flags & kCompressedFlag))
        return ByteCount{0};
    const Result<Bytes> value = attribute(path, kDecmpfsAttribute, Links::NotFollow);
    if (!value)
        return value.failure();
    const std::optional<HFSPlusDecmpfs> header = readDecmpfs(*value);
    if (!header)
        return Failure{ErrorCode::Corrupt, 0, path.native() + ": the compression header is damaged"};
    const Result<std::unique_ptr<ReadableFork>> fork = openResourceFork(path);
    if (!fork && fork.failure().code != ErrorCode::NotFound)
        return fork.failure();
    const Result<CompressedFork> heads = fork ? readCompressedFork(**fork) : fork.failure();
    if (!heads && heads.failure().code != ErrorCode::NotFound && heads.failure().code != ErrorCode::Corrupt)
        return heads.failure();
    return boundedLogicalSize(*header, heads ? heads->blockHead.numBlocks : 0);
}

Result<ByteCount> LinuxFileSystem::occupiedSize(const Path &path) const
{
    // Attributes that have blocks of their own are in the count of the file's.
    const Result<struct stat> status = statusOf(path);
    if (!status)
        return status.failure();
    const ByteCount own = FileCalls::statusFrom(*status).occupied;
    return S_ISREG(status->st_mode) ? own + Companion::occupied(path, *status) : own;
}
