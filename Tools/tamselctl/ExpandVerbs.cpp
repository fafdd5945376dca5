#include "Tools/tamselctl/Verbs.h"

#include "Classes/PrefPane/PXPathUncompressor.h"
#include "Classes/Shared/DVHFSUncompressor.h"
#include "Tools/tamselctl/ExpansionReport.h"
#include "Tools/tamselctl/ExpansionWords.h"
#include "Tools/tamselctl/Invocation.h"

#include <csignal>

static std::stop_source s_interruption;

/// Nobody waits for the stop: it is a flag that the run looks at, and setting it is all that the signal does.
static void stopAtInterrupt()
{
    std::signal(SIGINT, [](int) { s_interruption.request_stop(); });
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
    report.summarize(s_interruption.stop_requested());
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
