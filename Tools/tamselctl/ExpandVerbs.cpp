#include "Tools/tamselctl/Verbs.h"

#include "Classes/PrefPane/PXPathUncompressor.h"
#include "Classes/Shared/DVHFSUncompressor.h"
#include "Tools/tamselctl/ExpansionWords.h"
#include "Tools/tamselctl/Invocation.h"

#include <csignal>

static std::stop_source s_interruption;

/// Nobody waits for the stop: it is a flag that the run looks at, and setting it is all that the signal does.
static void stopAtInterrupt()
{
    std::signal(SIGINT, [](int) { s_interruption.request_stop(); });
}

namespace {

/// Says what a run does, and counts.
class ExpansionReport final : public PXPathUncompressorDelegate, public PXPathUncompressorObserver
{
public:
    explicit ExpansionReport(const Invocation &invocation)
        : m_invocation(invocation)
    {
    }

    void uncompressorWillExpandFile(PXPathUncompressor &, const Path &path) override
    {
        m_invocation.print(event("willExpand", path), "expanding " + path.native() + "\n");
    }
    void expansionEnded(const Path &path, const ExpansionOutcome &outcome) override;
    void uncompressorDidExpandFile(PXPathUncompressor &, const Path &path) override;
    void uncompressorDidFinishExpandingPath(PXPathUncompressor &, const Path &path) override
    {
        m_invocation.print(event("finished", path), "finished " + path.native() + "\n");
    }
    void fileLeftAlone(const Path &path, LeftAlone reason) override
    {
        ++m_leftAlone[wordsFor(reason).key];
        if (reason == LeftAlone::FlagCleared)
            m_flagsLeftCleared.push_back(path.native());
    }
    void pathUnreadable(const Path &, const Failure &failure) override
    {
        ++m_failed[wordsFor(ExpansionOutcome::Result::Unreadable).key];
        m_invocation.note(failure.context);
    }

    /// The last line.
    void summarize() const;

    bool hasFailed() const { return !m_failed.empty(); }

private:
    using Counts = std::map<std::string, std::uint64_t>;

    static Record event(const char *name, const Path &path)
    {
        return Record().add("event", name).add("path", path.native());
    }
    static Record recordOf(const Counts &counts);
    static std::string textOf(const char *heading, const Counts &counts);

    const Invocation &m_invocation;
    ExpansionOutcome m_last;
    std::uint64_t m_expanded = 0;
    ByteCount m_bytes = 0;
    Counts m_leftAlone;
    Counts m_failed;
    std::vector<std::string> m_flagsLeftCleared;
    std::vector<std::string> m_forksKept;
};

} // namespace

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

Record ExpansionReport::recordOf(const Counts &counts)
{
    Record record;
    for (const auto &[key, count] : counts)
        record.add(key, count);
    return record;
}

std::string ExpansionReport::textOf(const char *heading, const Counts &counts)
{
    std::string text;
    for (const auto &[key, count] : counts)
        text += std::string(heading) + ", " + key + ": " + std::to_string(count) + "\n";
    return text;
}

void ExpansionReport::summarize() const
{
    Record record;
    record.add("event", "summary").add("expanded", m_expanded).add("bytes", m_bytes);
    record.add("leftAlone", recordOf(m_leftAlone)).add("failed", recordOf(m_failed));
    record.add("flagsLeftCleared", m_flagsLeftCleared).add("forksKept", m_forksKept);
    record.add("cancelled", s_interruption.stop_requested());
    std::string text = s_interruption.stop_requested() ? "cancelled\n" : "";
    text += "expanded: " + std::to_string(m_expanded) + ", " + std::to_string(m_bytes) + " bytes\n";
    text += textOf("left alone", m_leftAlone) + textOf("failed", m_failed);
    for (const std::string &path : m_flagsLeftCleared)
        text += "no longer known as compressed, to be mended by \"repair\": " + path + "\n";
    for (const std::string &path : m_forksKept)
        text += "expanded, but the compressed content was kept: " + path + "\n";
    m_invocation.print(record, text);
}

ExitCode expandPaths(Invocation &invocation)
{
    stopAtInterrupt();
    ExpansionReport report(invocation);
    ExitCode exitCode = ExitCode::Done;
    for (const std::string &path : invocation.operands) {
        if (s_interruption.stop_requested())
            break;
        if (const Result<FileStatus> status = FileSystem::current().status(path); !status) {
            exitCode = invocation.fail(status.failure());
            continue;
        }
        PXPathUncompressor uncompressor(path);
        uncompressor.setObserver(&report);
        uncompressor.setStop(s_interruption.get_token());
        uncompressor.runWithDelegate(&report);
    }
    report.summarize();
    return report.hasFailed() || s_interruption.stop_requested() ? ExitCode::Failed : exitCode;
}

ExitCode expandFile(Invocation &invocation)
{
    stopAtInterrupt();
    const Path source = invocation.operands.front();
    const auto to = invocation.options.find("--to");
    const Path destination = to == invocation.options.end() ? source : Path(to->second);
    Error error;
    ExpansionOutcome outcome;
    DVHFSUncompressor uncompressor(source);
    uncompressor.setIgnoreCompressionFlag(invocation.options.contains("--ignore-compression-flag"));
    uncompressor.setOptions({s_interruption.get_token(), &outcome});
    const bool isExpanded = uncompressor.expandTo(destination, &error);

    const ExpansionWords words = wordsFor(outcome.result);
    Record record;
    record.add("ok", isExpanded);
    if (!isExpanded) {
        record.add("domain", error.domain).add("code", std::int64_t(error.code)).add("message", error.message);
        record.add("reason", words.key).add("isFlagLeftCleared", outcome.isFlagLeftCleared);
    } else {
        record.add("bytes", outcome.writtenSize).add("forkKept", outcome.reasonForkKept);
    }
    if (invocation.isJson || isExpanded)
        invocation.print(record, destination.native() + "\n");
    if (isExpanded)
        return ExitCode::Done;
    if (outcome.isFlagLeftCleared)
        invocation.note(source.native() + " is no longer known as compressed; \"repair\" mends that");
    if (error.code != 0)
        return invocation.fail(error.domain + " " + std::to_string(error.code) + ": " + error.message);
    return invocation.fail(destination.native() + ": " + words.text +
                           (outcome.reason.empty() ? "" : " (" + outcome.reason + ")"));
}
