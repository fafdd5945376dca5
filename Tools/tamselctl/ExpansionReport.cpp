#include "Tools/tamselctl/ExpansionReport.h"

#include "Tools/tamselctl/ExpansionWords.h"

static Record event(const char *name, const Path &path)
{
    return Record().add("event", name).add("path", path.native());
}

void ExpansionReport::uncompressorWillExpandFile(PXPathUncompressor &, const Path &path)
{
    m_invocation.print(event("willExpand", path), "expanding " + path.native() + "\n");
}

void ExpansionReport::uncompressorDidFinishExpandingPath(PXPathUncompressor &, const Path &path)
{
    m_invocation.print(event("finished", path), "finished " + path.native() + "\n");
}

void ExpansionReport::fileLeftAlone(const Path &path, LeftAlone reason)
{
    ++m_leftAlone[wordsFor(reason).key];
    if (reason == LeftAlone::FlagCleared)
        m_flagsLeftCleared.push_back(path.native());
}

void ExpansionReport::pathUnreadable(const Path &, const Failure &failure)
{
    ++m_failed[wordsFor(ExpansionOutcome::Result::Unreadable).key];
    m_invocation.note(failure.context);
}

void ExpansionReport::expansionEnded(const Path &path, const ExpansionOutcome &outcome)
{
    m_last = outcome;
    const char *key = wordsFor(outcome.result).key;
    if (outcome.result == ExpansionOutcome::Result::Expanded) {
        ++m_expanded;
        m_bytes += outcome.writtenSize;
    } else if (isLeftAlone(outcome.result)) {
        ++m_leftAlone[key];
    } else if (outcome.result != ExpansionOutcome::Result::Cancelled) {
        ++m_failed[key];
    }
    if (outcome.isFlagLeftCleared)
        m_flagsLeftCleared.push_back(path.native());
    if (!outcome.reasonForkKept.empty())
        m_forksKept.push_back(path.native());
}

void ExpansionReport::uncompressorDidExpandFile(PXPathUncompressor &, const Path &path)
{
    const ExpansionWords words = wordsFor(m_last.result);
    Record record = event("didExpand", path);
    record.add("result", words.key).add("bytes", m_last.writtenSize);
    record.add("isFlagLeftCleared", m_last.isFlagLeftCleared);
    if (!m_last.reason.empty())
        record.add("reason", m_last.reason);
    if (!m_last.reasonForkKept.empty())
        record.add("forkKept", m_last.reasonForkKept);
    std::string text = "  " + std::string(words.text);
    if (m_last.result == ExpansionOutcome::Result::Expanded)
        text += ", " + std::to_string(m_last.writtenSize) + " bytes";
    if (!m_last.reason.empty())
        text += " (" + m_last.reason + ")";
    m_invocation.print(record, text + "\n");
}

static Record recordOf(const std::map<std::string, std::uint64_t> &counts)
{
    Record record;
    for (const auto &[key, count] : counts)
        record.add(key, count);
    return record;
}

static std::string textOf(const char *heading, const std::map<std::string, std::uint64_t> &counts)
{
    std::string text;
    for (const auto &[key, count] : counts)
        text += std::string(heading) + ", " + key + ": " + std::to_string(count) + "\n";
    return text;
}

void ExpansionReport::summarize(bool isCancelled) const
{
    Record record;
    record.add("event", "summary").add("expanded", m_expanded).add("bytes", m_bytes);
    record.add("leftAlone", recordOf(m_leftAlone)).add("failed", recordOf(m_failed));
    record.add("flagsLeftCleared", m_flagsLeftCleared).add("forksKept", m_forksKept);
    record.add("cancelled", isCancelled);
    std::string text = isCancelled ? "cancelled\n" : "";
    text += "expanded: " + std::to_string(m_expanded) + ", " + std::to_string(m_bytes) + " bytes\n";
    text += textOf("left alone", m_leftAlone) + textOf("failed", m_failed);
    for (const std::string &path : m_flagsLeftCleared)
        text += "no longer known as compressed, to be mended by \"repair\": " + path + "\n";
    for (const std::string &path : m_forksKept)
        text += "expanded, but the compressed content was kept: " + path + "\n";
    m_invocation.print(record, text);
}
