#include "Tools/tamselctl/Verbs.h"

#include "Classes/Util/PXUtil.h"
#include "Tools/tamselctl/HistoryReader.h"
#include "Tools/tamselctl/Invocation.h"
#include "Tools/tamselctl/RunningPrograms.h"
#include "Tools/tamselctl/SettingsFile.h"

/// Adds what the file says. Answers whether it could be read.
static bool addSettings(Record &record, const Path &file, const Invocation &invocation)
{
    const auto settings = SettingsFile::read(file);
    if (!settings) {
        invocation.note(settings.failure().context);
        return false;
    }
    record.add("helperActive", settings->boolean("active"));
    record.add("autorunAtLogin", settings->boolean("runAtLogin"));
    record.add("checkForUpdates", settings->boolean("checkUpdates"));
    record.add("visible", settings->boolean("visible"));
    record.add("firstRun", settings->boolean("firstRun"));
    return true;
}

static bool addHistory(Record &record, const Path &file, const Invocation &invocation)
{
    const auto history = HistorySummary::read(file);
    if (!history) {
        invocation.note(history.failure().context);
        return false;
    }
    record.add("folders", std::uint64_t(history->folders.size()));
    record.add("totalSavings", history->totalSavings);
    record.add("previousSavings", history->previousSavings);
    return true;
}

ExitCode showStatus(Invocation &invocation)
{
    Record record;
    record.add("version", TAMSEL_VERSION);
    const RunningPrograms programs = RunningPrograms::find();
    record.add("sessionBus", programs.isBusThere);
    if (programs.isBusThere) {
        record.add("helperRunning", programs.isHelperRunning);
        record.add("hostRunning", programs.isHostRunning);
    }
    const auto folder = PXUtil::applicationSupportFolder();
    bool isWhole = folder.has_value();
    if (folder) {
        record.add("applicationSupportFolder", folder->native());
        isWhole = addSettings(record, *folder / "defaults.plist", invocation);
        isWhole = addHistory(record, *folder / "history.db", invocation) && isWhole;
    } else {
        invocation.note("there is no application-support folder");
    }
    invocation.print(record);
    return isWhole ? ExitCode::Done : ExitCode::Failed;
}
