#include "Classes/Shared/Expansion.h"

#include "Classes/Shared/HFSCompression.h"
#include "Classes/Shared/LeftLocks.h"
#include "Classes/Shared/TemporaryFiles.h"

static constexpr int kCannotRead = 700;
static constexpr int kNotCompressed = 705;
static constexpr int kCannotInflate = 706;

Expansion::Expansion(Request request)
    : m_request(std::move(request))
    , m_files(FileSystem::current())
{
}

bool Expansion::fail(Outcome result, const std::string &reason)
{
    m_outcome.result = result;
    m_outcome.reason = reason;
    return false;
}

bool Expansion::failToWrite(Outcome result, const Failure &failure)
{
    return fail(failure.code == ErrorCode::NoSpace ? Outcome::NoSpace : result, failure.context);
}

bool Expansion::failWithError(Outcome result, int code, const std::string &message, const std::string &reason)
{
    if (m_error)
        *m_error = {kErrorDomain, code, message};
    return fail(result, reason);
}

bool Expansion::run(Error *error)
{
    m_error = error;
    examine();
    if (m_request.expected && m_source && m_source->identity != *m_request.expected)
        return fail(Outcome::Changed);
    if (Result<std::unique_ptr<FileLock>> lock = m_files.lockFile(m_request.source))
        m_lock = std::move(*lock); // without it, it goes on all the same
    if (!clearFlag())
        return false;
    if (!openFork()) {
        LeftLocks::keep(std::move(m_lock));
        return false;
    }
    if (!openOutput() || !inflateBlocks())
        return false;
    setFlagAgain();
    if (const Result<void> closed = m_output->close(); !closed)
        return failToWrite(Outcome::NotWritten, closed.failure());
    if (!copyAttributes())
        return false;
    if (m_request.stop.stop_requested()) // what follows waits for the medium
        return fail(Outcome::Cancelled);
    if (m_destination ? !replace() : !disownCompanion())
        return false;
    m_outcome.result = Outcome::Expanded;
    return true;
}

void Expansion::examine()
{
    const Result<FileStatus> destination = m_files.status(m_request.destination);
    if (destination)
        m_destination = *destination;
    else if (destination.failure().code != ErrorCode::NotFound || isInPlace())
        m_unreadable = destination.failure();
    const Result<FileStatus> source = m_files.status(m_request.source);
    if (source)
        m_source = *source;
    else
        m_unreadable = source.failure();
    if (!m_destination)
        return;
    const Result<std::uint32_t> flags = m_files.flags(m_request.destination);
    if (flags)
        m_savedFlags = *flags & (kImmutableFlag | kAppendOnlyFlag);
    else
        m_unreadable = flags.failure();
}

bool Expansion::clearFlag()
{
    const bool wasCompressed = HFSCompression::isFileUFCompressed(m_request.source);
    if (!wasCompressed && !m_request.doIgnoreFlag) {
        removeAbandoned();
        return failWithError(Outcome::NotCompressed, kNotCompressed,
                             "Source file is not compressed at " + m_request.destination.native());
    }
    if (!checkNothingIsLost())
        return false;
    if (!wasCompressed)
        return true;
    if (!HFSCompression::setFileAsUFCompressed(m_request.source, false)) {
        m_outcome.isFlagLeftCleared = !HFSCompression::isFileUFCompressed(m_request.source);
        return fail(Outcome::FlagNotCleared);
    }
    m_outcome.isFlagLeftCleared = true; // until it is set again
    return true;
}

/// What an expansion that was killed has left, which no other will meet: the next one ends here, because the file is
/// expanded already or its flag is still cleared.
void Expansion::removeAbandoned()
{
    if (!m_destination || m_destination->type != FileType::Regular)
        return;
    m_files.removeAbandoned(getTemporaryFileNameBasedOnExistingPath(m_request.destination));
    m_files.removeAbandonedPartsOf(m_request.destination);
}

/// What has to hold before anything is changed.
bool Expansion::checkNothingIsLost()
{
    if (m_unreadable)
        return fail(Outcome::Unreadable, m_unreadable->context);
    if (m_destination && m_destination->type != FileType::Regular)
        return fail(Outcome::NotReplaceable);
    if (!checkContent())
        return false;
    if (replacesSource()) {
        const Result<bool> isShared = m_files.isForkShared(m_request.source);
        if (!isShared)
            return fail(Outcome::Unreadable, isShared.failure().context);
        if (*isShared)
            return fail(Outcome::ForkShared);
    } else if (m_destination && !rememberOldCompanion()) {
        return fail(Outcome::ForkShared);
    }
    const Result<Bytes> value = m_files.attribute(m_request.source, kDecmpfsAttribute, Links::NotFollow);
    m_isHeaderUnreadable = !value && value.failure().code != ErrorCode::NotFound;
    if (const auto header = value ? readDecmpfs(*value) : std::nullopt;
        header && header->compressionType == kResourceForkCompression)
        m_statedSize = header->uncompressedSize;
    return true;
}

/// A file with content was written after it was compressed, or is compressed by its volume. Its fork may be had from
/// it, but never put in the place of the content.
bool Expansion::checkContent()
{
    if (m_source->size > 0 && (replacesSource() || HFSCompression::isFileUFCompressed(m_request.source)))
        return fail(Outcome::HasContent);
    return true;
}

bool Expansion::openFork()
{
    Result<std::unique_ptr<ReadableFork>> fork = m_files.openResourceFork(m_request.source);
    if (!fork)
        return fail(Outcome::NoFork, fork.failure().context);
    m_openedFork = std::move(*fork);
    return true;
}

bool Expansion::openOutput()
{
    constexpr std::uint32_t kNewMode = 0755;
    m_outputPath =
        m_destination ? getTemporaryFileNameBasedOnExistingPath(m_request.destination) : m_request.destination;
    Result<std::unique_ptr<OutputFile>> output = m_destination
                                                     ? m_files.openScratchFile(m_outputPath, m_destination->mode)
                                                     : m_files.openNewFile(m_outputPath, kNewMode);
    if (!output)
        return failToWrite(Outcome::OutputRefused, output.failure());
    m_output = std::move(*output);
    return true;
}

/// The blocks follow one another behind the table; where an entry says that its block lies is not looked at.
bool Expansion::inflateBlocks()
{
    Result<CompressedBlockReader> blocks = CompressedBlockReader::open(std::move(m_openedFork));
    if (!blocks)
        return fail(Outcome::ForkDamaged, blocks.failure().context);
    m_blocks = std::move(*blocks);
    m_packed.resize(kCompressionBlockSize);
    m_content.resize(kCompressionBlockSize);
    ByteCount position = m_blocks->heads().tableEnd();
    for (std::uint32_t index = 0; index < m_blocks->count(); ++index) {
        if (m_request.stop.stop_requested()) {
            if (m_outcome.isFlagLeftCleared) // one that was clear before stays so
                setFlagAgain();
            return fail(Outcome::Cancelled);
        }
        const Result<HFSPlusCmpfRsrcBlock> block = m_blocks->entry(index);
        if (!block)
            return fail(Outcome::ForkDamaged, block.failure().context);
        if (!inflateBlock(*block, position))
            return false;
    }
    return true;
}

bool Expansion::inflateBlock(const HFSPlusCmpfRsrcBlock &block, ByteCount &position)
{
    const std::string unreadable = "Could not read source data";
    if (block.blockSize > m_packed.size())
        return failWithError(Outcome::BlockUnreadable, kCannotRead, unreadable);
    if (block.blockSize == 0) // of which a table can claim hundreds of millions
        return true;
    const std::span<std::uint8_t> place = std::span(m_packed).first(block.blockSize);
    const Result<std::size_t> got = m_blocks->fork().readAt(position, place);
    if (!got)
        return failWithError(Outcome::BlockUnreadable, kCannotRead, unreadable, got.failure().context);
    position += *got;
    if (*got == 0)
        return true;
    const std::optional<std::size_t> length = m_inflater.inflate(place.first(*got), m_content);
    if (!length)
        return failWithError(Outcome::BlockDamaged, kCannotInflate, "Source data cannot be uncompressed");
    if (const Result<void> written = m_output->write(ByteView(m_content).first(*length)); !written)
        return failToWrite(Outcome::NotWritten, written.failure());
    m_outcome.writtenSize += *length;
    return true;
}

/// Never on another file that has come to the source's place since.
void Expansion::setFlagAgain()
{
    const Result<FileStatus> now = m_files.status(m_request.source);
    if (now && now->identity == m_source->identity && HFSCompression::setFileAsUFCompressed(m_request.source, true))
        m_outcome.isFlagLeftCleared = false;
}
