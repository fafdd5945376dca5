#include "Classes/Shared/FileCompression.h"

#include "Platform/ThisProcess.h"

#include <algorithm>

// So much is written before it is looked at what has become of it: neither memory nor the medium is filled meanwhile.
static constexpr ByteCount kWindow = ByteCount{64} << 20;
// Who wants to write the file waits for one call at most.
static constexpr ByteCount kMostAtOnce = ByteCount{1} << 20;
// Of the extents that others had compressed, the first so many are measured, then one of so many.
static constexpr std::size_t kAllMeasured = 64;
static constexpr std::size_t kOneMeasuredOf = 8;

FileCompression::FileCompression(Request request)
    : m_request(std::move(request))
{
}

FileCompression::Outcome FileCompression::run()
{
    if (examine())
        compress();
    m_watch.reset();
    // What somebody else has had compressed counts as well. Where all was looked at that is done.
    const bool isMeasured = !m_outcome.leftAlone || m_outcome.leftAlone == Reason::DoesNotShrink;
    if (m_file && !isMeasured && !m_outcome.failure && !m_outcome.isStopped) {
        m_outcome.savings = 0;
        m_plain.clear();
        addSavings(0, m_facts.file.size);
    }
    return m_outcome;
}

/// Whether the file is to be compressed, as far as can be told without reading it.
bool FileCompression::examine()
{
    m_facts.file = m_request.status;
    m_facts.user = ThisProcess::current().userId();
    m_facts.now = m_request.now;
    m_facts.isExcluded = m_request.isExcluded;
    const std::optional<Reason> seen = m_facts.reasonToLeaveAlone(m_request.limits);
    if (seen == Reason::NotRegular || seen == Reason::AnothersFile || seen == Reason::Excluded ||
        seen == Reason::TooSmall)
        return leave(*seen);
    m_facts.isWritable = FileSystem::current().isWritable(m_request.path).valueOr(false);
    if (!open())
        return false;
    if (const std::optional<Reason> reason = m_facts.reasonToLeaveAlone(m_request.limits))
        return leave(*reason);
    m_watch.emplace(m_request.path, m_facts.file.identity);
    return m_watch->mayReplace() || leave(Reason::BeingWritten);
}

bool FileCompression::open()
{
    Result<std::unique_ptr<CompressibleFile>> file = TransparentCompression::current().open(m_request.path);
    if (!file)
        return fail(file.failure());
    m_file = std::move(*file);
    if (const Result<void> asked = m_facts.ask(*m_file); !asked)
        return fail(asked.failure());
    if (m_facts.file.identity != m_request.status.identity) {
        m_file.reset();
        return fail({ErrorCode::Busy, 0, m_request.path.native() + " is another file by now"});
    }
    return true;
}

bool FileCompression::compress()
{
    for (ByteCount start = 0; start < m_facts.file.size;) {
        ByteCount end = start + kWindow;
        if (!compressWindow(start, end))
            return false;
        start = end;
    }
    return m_outcome.rewritten > 0 || leave(Reason::DoesNotShrink);
}

/// Deals with the extents that begin between `start` and `end`, which is moved on to where the last of them ends.
bool FileCompression::compressWindow(ByteCount start, ByteCount &end)
{
    m_plain.clear();
    const Result<VolumeRoom> room = m_file->room();
    if (room && m_request.limits.isNearlyFull(*room))
        return leave(Reason::NearlyFull);
    const ByteCount limit = end;
    const bool areSeen = eachExtent(start, limit, [&](const StoredExtent &extent) {
        const bool isPlain = !extent.isCompressed && !extent.isShared && !extent.isEmbedded && extent.isWritten;
        if (extent.offset < start)
            return true;
        end = std::max(end, extent.end());
        return !isPlain || lookAt(extent);
    });
    if (!areSeen)
        return false;
    if (isWorthIt() && !(rewrite(false) && rewrite(true)))
        return false;
    return addSavings(start, end);
}

/// Calls `visit` with every extent that has a part between `start` and `end`, as long as it answers true.
template <class Visit>
bool FileCompression::eachExtent(ByteCount start, ByteCount end, Visit visit)
{
    for (ByteCount offset = start; offset < end;) {
        const Result<std::vector<StoredExtent>> extents = m_file->extentsFrom(offset);
        if (!extents)
            return fail(extents.failure());
        if (extents->empty())
            return true;
        for (const StoredExtent &extent : *extents) {
            if (extent.offset >= end)
                return true;
            if (!visit(extent))
                return false;
        }
        offset = extents->back().end();
    }
    return true;
}

bool FileCompression::lookAt(const StoredExtent &plain)
{
    const ByteCount end = std::min(plain.end(), m_facts.file.size);
    for (ByteCount offset = plain.offset; offset < end; offset += m_file->stretchSize()) {
        if (!isGoingOn())
            return false;
        const Result<Stretch> stretch = look(offset, std::min(end - offset, m_file->stretchSize()));
        if (!stretch)
            return fail(stretch.failure());
        m_plain.push_back(*stretch);
    }
    return true;
}

/// Whether an eighth of it would be saved. All or nothing: an extent that is needed in part stays on the medium as a
/// whole.
bool FileCompression::isWorthIt() const
{
    ByteCount length = 0, occupied = 0;
    for (const Stretch &stretch : m_plain) {
        length += stretch.length;
        occupied += stretch.isShrinking(m_facts.blockSize) ? stretch.occupied : stretch.length;
    }
    return length > 0 && occupied <= length - length / 8;
}

/// The volume marks a file in which it finds a stretch that does not shrink, so a close call is none. What takes one
/// block it does not try to compress; such an end goes with what is before it.
bool FileCompression::Stretch::isShrinking(ByteCount blockSize) const
{
    const ByteCount blocks = (length + blockSize - 1) / blockSize;
    const ByteCount saved = blocks - std::min(blocks, occupied / blockSize);
    return blocks == 1 || saved >= (blocks > 8 ? 2 : 1);
}

Result<FileCompression::Stretch> FileCompression::look(ByteCount offset, ByteCount length)
{
    m_content.resize(length);
    const Result<std::size_t> got = m_file->readAt(offset, m_content);
    if (!got)
        return got.failure();
    if (*got < length)
        return Failure{ErrorCode::Busy, 0, m_request.path.native() + " has become shorter"};
    return Stretch{offset, length, m_file->occupiedCompressed(m_content)};
}

/// In as few calls as may be, but none longer than a writer can wait for.
bool FileCompression::rewrite(bool areShrinking)
{
    ByteCount offset = 0, length = 0;
    for (const Stretch &stretch : m_plain) {
        if (stretch.isShrinking(m_facts.blockSize) != areShrinking)
            continue;
        if (stretch.offset == offset + length && length + stretch.length <= kMostAtOnce) {
            length += stretch.length;
            continue;
        }
        if (!rewrite(offset, length, areShrinking))
            return false;
        offset = stretch.offset;
        length = stretch.length;
    }
    return rewrite(offset, length, areShrinking);
}

bool FileCompression::rewrite(ByteCount offset, ByteCount length, bool isShrinking)
{
    if (length == 0)
        return true;
    if (!isGoingOn())
        return false;
    const Result<void> done = isShrinking ? m_file->compress(offset, length) : m_file->writeAnew(offset, length);
    if (!done)
        return fail(done.failure());
    m_outcome.rewritten += length;
    return true;
}

/// Adds what is saved by the extents that begin between `start` and `end`.
bool FileCompression::addSavings(ByteCount start, ByteCount end)
{
    return eachExtent(start, end, [&](const StoredExtent &extent) {
        const bool isCounted = extent.isCompressed && !extent.isShared && !extent.isEmbedded && extent.offset >= start;
        return !isCounted || addSavingsOf(extent);
    });
}

/// Of one that was written just now it is known. Any other is read and compressed once more for it: the first ones all,
/// then some, from which the rest is reckoned.
bool FileCompression::addSavingsOf(const StoredExtent &compressed)
{
    if (m_request.stop.stop_requested())
        return isGoingOn();
    const ByteCount length =
        std::min(compressed.length, m_facts.file.size - std::min(m_facts.file.size, compressed.offset));
    const auto known =
        std::lower_bound(m_plain.begin(), m_plain.end(), compressed.offset,
                         [](const Stretch &stretch, ByteCount offset) { return stretch.offset < offset; });
    if (known != m_plain.end() && known->offset == compressed.offset && known->length == length) {
        m_outcome.savings += compressed.length - std::min(compressed.length, known->occupied);
        return true;
    }
    const std::size_t number = m_strangers++;
    if (number >= kAllMeasured && number % kOneMeasuredOf != 0) {
        m_outcome.savings += ByteCount(double(compressed.length) * double(m_measuredSavings) / double(m_measured));
        return true;
    }
    const Result<Stretch> stretch = look(compressed.offset, length);
    if (!stretch)
        return fail(stretch.failure());
    const ByteCount saved = compressed.length - std::min(compressed.length, stretch->occupied);
    m_measured += compressed.length;
    m_measuredSavings += saved;
    m_outcome.savings += saved;
    return true;
}

/// Whether nobody has asked to stop, or to write the file.
bool FileCompression::isGoingOn()
{
    m_outcome.isStopped = m_request.stop.stop_requested();
    if (m_outcome.isStopped)
        return false;
    return m_watch->mayReplace() || leave(Reason::BeingWritten);
}

bool FileCompression::leave(Reason reason)
{
    m_outcome.leftAlone = reason;
    return false;
}

bool FileCompression::fail(const Failure &failure)
{
    m_outcome.failure = failure;
    return false;
}
