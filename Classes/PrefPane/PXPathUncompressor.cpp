#include "Classes/PrefPane/PXPathUncompressor.h"

#include "Classes/PrefPane/traverse_using_objc_filter.h"
#include "Classes/Shared/CompressedFileRepair.h"
#include "Classes/Shared/DVHFSUncompressor.h"
#include "Classes/Shared/HFSCompression.h"
#include "Classes/Shared/LeftLocks.h"
#include "Classes/Shared/TemporaryFiles.h"
#include "Classes/Util/PXUtil.h"
#include "Platform/Formats/CompressedFile.h"
#include "Platform/ThisProcess.h"

static constexpr ByteCount kSmallestFile = 4096;

using LeftAlone = PXPathUncompressorObserver::LeftAlone;

std::unique_ptr<PXPathUncompressor> PXPathUncompressor::runUncompressorWithPath(const Path &path,
                                                                                PXPathUncompressorDelegate *delegate)
{
    auto uncompressor = std::make_unique<PXPathUncompressor>(path);
    uncompressor->runWithDelegate(delegate);
    return uncompressor;
}

PXPathUncompressor::PXPathUncompressor(Path path)
    : m_path(std::move(path))
{
}

void PXPathUncompressor::runWithDelegate(PXPathUncompressorDelegate *delegate)
{
    if (m_status.exchange(Running) == Running)
        return;
    m_delegate = delegate;
    const auto filter = [this](const WalkEntry &entry) { return expandFile(entry.path, entry.status); };
    const auto unreadable = [this](const Path &path, const Failure &failure) {
        if (m_observer)
            m_observer->pathUnreadable(path, failure);
    };
    traverse_using_objc_filter(m_path, nullptr, filter, m_stop, unreadable);
    m_status = Finished;
    didFinishExpandingPath(m_path);
    LeftLocks::release();
}

/// Whether a file that seems to be small says of itself that it is not.
static bool isDamaged(const Path &path)
{
    const Result<Bytes> value = FileSystem::current().attribute(path, kDecmpfsAttribute, Links::NotFollow);
    const std::optional<HFSPlusDecmpfs> header = value ? readDecmpfs(*value) : std::nullopt;
    return header && header->uncompressedSize >= kSmallestFile && HFSCompression::isFileUFCompressed(path);
}

/// A file that has content is no compressed one of ours, and is known without a look at its attributes.
std::optional<LeftAlone> PXPathUncompressor::reasonToLeaveAlone(const Path &path, const FileStatus &status)
{
    if (status.type != FileType::Regular)
        return LeftAlone::NotRegular;
    const FileSystem &files = FileSystem::current();
    const Result<ByteCount> logicalSize = status.size > 0 ? status.size : files.logicalSize(path);
    if (!logicalSize)
        return logicalSize.failure().code == ErrorCode::NotFound ? LeftAlone::Damaged : LeftAlone::Unreadable;
    const ByteCount size = *logicalSize;
    if (size == 0 && CompressedFileRepair::isCandidate(path, status) && !HFSCompression::isFileUFCompressed(path))
        return LeftAlone::FlagCleared;
    if (size < kSmallestFile)
        return status.size == 0 && isDamaged(path) ? LeftAlone::Damaged : LeftAlone::TooSmall;
    if (status.size > 0 || !HFSCompression::isFileUFCompressed(path))
        return LeftAlone::NotCompressed;
    if (status.owner != ThisProcess::current().userId())
        return LeftAlone::AnothersFile;
    if (!files.isWritable(path).valueOr(false))
        return LeftAlone::NotWritable;
    if (!PXUtil::processGroupsInclude(status.group))
        return LeftAlone::AnothersGroup;
    return std::nullopt;
}

/// A process that was killed may have left it among the files that are expanded now. Answers whether it has gone.
static bool removeIfAbandoned(const Path &path, const FileStatus &status)
{
    FileSystem &files = FileSystem::current();
    const std::string &name = path.native();
    const std::size_t slash = name.rfind('/');
    const std::string_view last = std::string_view(name).substr(slash == std::string::npos ? 0 : slash + 1);
    if (status.type != FileType::Regular || !files.isNameInTheMaking(last))
        return false;
    files.removeAbandoned(path);
    return !files.status(path);
}

/// An expansion that was killed may have left the flag cleared and its output, which can be large, half written.
static void removeAbandonedPartsOf(const Path &path)
{
    FileSystem &files = FileSystem::current();
    files.removeAbandoned(getTemporaryFileNameBasedOnExistingPath(path));
    files.removeAbandonedPartsOf(path);
}

std::uint32_t PXPathUncompressor::expandFile(const char *path)
{
    const Result<FileStatus> status = FileSystem::current().status(path);
    return status ? expandFile(path, *status) : 0;
}

std::uint32_t PXPathUncompressor::expandFile(const Path &path, const FileStatus &status)
{
    if (status.type == FileType::Directory || m_stop.stop_requested() || removeIfAbandoned(path, status))
        return 0;
    if (const std::optional<LeftAlone> reason = reasonToLeaveAlone(path, status)) {
        if (*reason == LeftAlone::FlagCleared)
            removeAbandonedPartsOf(path);
        if (m_observer)
            m_observer->fileLeftAlone(path, *reason);
        return 0;
    }
    expandInPlaceFileAtPath(path, status.identity);
    return kPathAccepted;
}

void PXPathUncompressor::expandInPlaceFileAtPath(const Path &path, const std::optional<FileIdentity> &expected)
{
    willExpandFile(path);
    ExpansionOutcome outcome;
    DVHFSUncompressor::expandInPlacePath(path, nullptr, nullptr, nullptr, false, {m_stop, &outcome, expected});
    if (m_observer)
        m_observer->expansionEnded(path, outcome);
    didExpandFile(path);
}

void PXPathUncompressor::willExpandFile(const Path &path)
{
    if (m_delegate)
        m_delegate->uncompressorWillExpandFile(*this, path);
}

void PXPathUncompressor::didExpandFile(const Path &path)
{
    if (m_delegate)
        m_delegate->uncompressorDidExpandFile(*this, path);
}

void PXPathUncompressor::didFinishExpandingPath(const Path &path)
{
    if (m_delegate)
        m_delegate->uncompressorDidFinishExpandingPath(*this, path);
}
