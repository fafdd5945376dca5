#include "Classes/Shared/Expansion.h"
#include "Classes/Shared/Log.h"
#include "Classes/Shared/WriterWatch.h"
#include "Classes/Shared/copyExtendedAttributes.h"

#include <algorithm>

/// This system's own attributes, and those that make a file a compressed one.
static const std::vector<std::string> &namesToSkip()
{
    static const std::vector<std::string> s_names = {"com.dovrane.tamsel.exclude", "com.dovrane.tamsel.signature",
                                                     kResourceForkAttribute, kDecmpfsAttribute};
    return s_names;
}

static bool isSkipped(const std::string &name)
{
    const auto isEqual = [](char one, char other) {
        return one == other || (one >= 'A' && one <= 'Z' && one - 'A' + 'a' == other);
    };
    return std::any_of(namesToSkip().begin(), namesToSkip().end(), [&](std::string skipped) {
        std::transform(skipped.begin(), skipped.end(), skipped.begin(),
                       [](char letter) { return letter >= 'A' && letter <= 'Z' ? char(letter - 'A' + 'a') : letter; });
        return std::equal(name.begin(), name.end(), skipped.begin(), skipped.end(), isEqual);
    });
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

bool Expansion::replace()
{
    const Path &destination = m_request.destination;
    if (replacesSource() && !m_blocks->fork().isBeside() && !reasonToKeepFork().empty())
        return fail(Outcome::SizeDiffers, reasonToKeepFork());
    if (const Result<void> made = m_output->makeLike(destination, *m_destination); !made)
        return failToWrite(made.failure().code == ErrorCode::Busy ? Outcome::Changed : Outcome::AccessNotKept,
                           made.failure());
    const WriterWatch watch(destination, m_destination->identity);
    if (!watch.mayReplace())
        return fail(Outcome::BeingWritten);
    if (m_request.stop.stop_requested()) // the medium may have taken long
        return fail(Outcome::Cancelled);
    const Result<bool> replaced =
        m_output->replace(destination, *m_destination, [&watch] { return watch.mayReplace(); });
    if (!replaced)
        return fail(watch.mayReplace() ? Outcome::Changed : Outcome::BeingWritten, replaced.failure().context);
    if (m_savedFlags != 0)
        (void)m_output->setFlags(m_savedFlags);
    if (!replacesSource())
        return true;
    m_outcome.isFlagLeftCleared = false;
    if (!*replaced)
        m_outcome.reasonForkKept = "the folder could not be synced";
    else
        discardFork();
    if (!m_outcome.reasonForkKept.empty())
        logLine("Kept the resource fork beside " + destination.native() + ": " + m_outcome.reasonForkKept);
    return true;
}

/// A fork that says something else than the file does now may be all that is left of it. Empty when it does not.
std::string Expansion::reasonToKeepFork() const
{
    if (m_isHeaderUnreadable)
        return "its header could not be read";
    if (m_statedSize && *m_statedSize != m_outcome.writtenSize)
        return "its header says " + std::to_string(*m_statedSize) + " bytes, " +
               std::to_string(m_outcome.writtenSize) + " were in its blocks";
    return {};
}

void Expansion::discardFork()
{
    m_outcome.reasonForkKept = reasonToKeepFork();
    if (!m_outcome.reasonForkKept.empty())
        return;
    if (const Result<void> done = m_files.discardFork(m_request.destination, m_blocks->fork(), namesToSkip()); !done)
        m_outcome.reasonForkKept = done.failure().context;
}
