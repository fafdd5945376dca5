#include "Classes/Shared/Expansion.h"
#include "Classes/Shared/Log.h"
#include "Classes/Shared/WriterWatch.h"
#include "Classes/Shared/copyExtendedAttributes.h"
#include "Platform/Formats/MemoryFork.h"
#include "Platform/asciiLowercase.h"

#include <algorithm>
#include <iterator>

/// This system's own attributes, and those that make a file a compressed one.
static const std::vector<std::string> &namesToSkip()
{
    static const std::vector<std::string> s_names = {"com.dovrane.tamsel.exclude", "com.dovrane.tamsel.signature",
                                                     asciiLowercase(kResourceForkAttribute), kDecmpfsAttribute};
    return s_names;
}

static bool isSkipped(const std::string &name)
{
    const auto &skipped = namesToSkip(); // which are in lower case
    return std::find(skipped.begin(), skipped.end(), asciiLowercase(name)) != skipped.end();
}

/// Where the source stays as it is, an attribute that cannot be copied is no reason to stop.
bool Expansion::copyAttributes()
{
    const bool areCopied = copyExtendedAttributesFrom(m_request.source, m_outputPath, namesToSkip());
    if (replacesSource() && (!areCopied || !haveAttributesArrived()))
        return fail(Outcome::AttributesNotCopied);
    return true;
}

/// The copier takes a list that cannot be read for an empty one.
bool Expansion::haveAttributesArrived() const
{
    const Result<std::vector<std::string>> names = m_files.attributeNames(m_request.source, Links::NotFollow);
    if (!names)
        return false;
    return std::all_of(names->begin(), names->end(), [&](const std::string &name) {
        if (isSkipped(name))
            return true;
        const Result<Bytes> value = m_files.attribute(m_request.source, name, Links::NotFollow);
        const Result<Bytes> copy = m_files.attribute(m_outputPath, name, Links::NotFollow);
        return value && copy && *value == *copy;
    });
}

/// Another file than the source that is replaced can have something beside it that would be taken for the new one's.
/// Answers whether it may be taken away: other names of that file could need it.
bool Expansion::rememberOldCompanion()
{
    const Path &destination = m_request.destination;
    m_oldNames = m_files.attributeNames(destination, Links::NotFollow).valueOr({});
    if (Result<std::unique_ptr<ReadableFork>> fork = m_files.openResourceFork(destination))
        m_oldFork = std::move(*fork);
    return !m_oldFork || !m_files.isForkShared(destination).valueOr(true);
}

/// What lies beside a file that was not there before is no fork of it, also when the file will be emptied.
bool Expansion::disownCompanion()
{
    if (!m_files.openResourceFork(m_request.destination))
        return true;
    const Result<void> flagged = m_output->setFlags(0);
    return flagged || failToWrite(Outcome::NotWritten, flagged.failure());
}

Expansion::Outcome Expansion::reasonOfRefusal() const
{
    const Result<FileStatus> now = m_files.status(m_request.destination);
    return now && now->identity == m_destination->identity ? Outcome::BeingWritten : Outcome::Changed;
}

bool Expansion::replace()
{
    const Path &destination = m_request.destination;
    if (replacesSource() && !m_blocks->fork().isBeside() && !reasonToKeepFork().empty())
        return fail(Outcome::SizeDiffers, reasonToKeepFork());
    if (const Result<void> made = m_output->makeLike(destination, *m_destination); !made)
        return failToWrite(made.failure().code == ErrorCode::Busy ? Outcome::Changed : Outcome::AccessNotKept,
                           made.failure());
    const Result<FileStatus> output = m_files.status(m_outputPath);
    if (!output)
        return fail(Outcome::Changed, output.failure().context);
    const WriterWatch watch(destination, m_destination->identity);
    if (!watch.mayReplace())
        return fail(reasonOfRefusal());
    if (m_request.stop.stop_requested()) // the medium may have taken long
        return fail(Outcome::Cancelled);
    const Result<bool> replaced =
        m_output->replace(destination, *m_destination, [&watch] { return watch.mayReplace(); });
    if (!replaced)
        return fail(watch.mayReplace() ? Outcome::Changed : Outcome::BeingWritten, replaced.failure().context);
    if (m_savedFlags != 0)
        (void)m_output->setFlags(m_savedFlags);
    discardWhatIsReplaced(*replaced, output->identity);
    return true;
}

/// `output` is what stands at the destination now, or the path leads elsewhere.
void Expansion::discardWhatIsReplaced(bool isLasting, const FileIdentity &output)
{
    const Path &destination = m_request.destination;
    if (replacesSource())
        m_outcome.isFlagLeftCleared = false;
    const Result<FileStatus> now = m_files.status(destination);
    if (!isLasting) {
        m_outcome.reasonForkKept = "the folder could not be synced";
    } else if (!now || now->identity != output) {
        m_outcome.reasonForkKept = "another file stands there by now";
    } else if (const Result<void> done = replacesSource() ? discardFork() : discardOldCompanion(); !done) {
        m_outcome.reasonForkKept = done.failure().context;
    }
    if (!m_outcome.reasonForkKept.empty())
        logLine("Kept the resource fork beside " + destination.native() + ": " + m_outcome.reasonForkKept);
}

/// A fork that says something else than the file does now may be all that is left of it. Empty when it does not.
std::string Expansion::reasonToKeepFork() const
{
    if (m_isHeaderUnreadable)
        return "its header could not be read";
    if (m_statedSize && *m_statedSize != m_outcome.writtenSize)
        return "its header says " + std::to_string(*m_statedSize) + " bytes, " + std::to_string(m_outcome.writtenSize) +
               " were in its blocks";
    return {};
}

Result<void> Expansion::discardFork()
{
    if (const std::string reason = reasonToKeepFork(); !reason.empty())
        return Failure{ErrorCode::Busy, 0, reason};
    return m_files.discardFork(m_request.destination, m_blocks->fork(), namesToSkip());
}

/// What the file that was replaced had beside it, but for what the new one has, too.
Result<void> Expansion::discardOldCompanion()
{
    std::vector<std::string> unwanted = namesToSkip();
    const std::vector<std::string> wanted =
        m_files.attributeNames(m_request.source, Links::NotFollow).valueOr(m_oldNames);
    std::copy_if(m_oldNames.begin(), m_oldNames.end(), std::back_inserter(unwanted), [&](const std::string &name) {
        return std::find(wanted.begin(), wanted.end(), name) == wanted.end();
    });
    const MemoryFork none({});
    const ReadableFork &fork = m_oldFork ? *m_oldFork : static_cast<const ReadableFork &>(none);
    return m_files.discardFork(m_request.destination, fork, unwanted);
}
