#include "Tools/tamselctl/Verbs.h"

#include "Classes/PrefPane/PXHistoryController.h"
#include "Classes/Shared/inBackground.h"
#include "Classes/Shared/map.h"
#include "Classes/Util/PXUtil.h"
#include "Tools/tamselctl/HistoryReader.h"
#include "Tools/tamselctl/Invocation.h"

#include <cstdio>

static void print(const Invocation &invocation, const HistoryEntry &entry)
{
    Record record;
    record.add(HistoryEntry::kSortID, entry.sortID);
    record.add(HistoryEntry::kFolder, entry.folder);
    record.add(HistoryEntry::kPath, entry.path);
    record.add(HistoryEntry::kStatus, entry.status);
    record.add(HistoryEntry::kSavings, entry.savings);
    if (entry.enabled)
        record.add(HistoryEntry::kEnabled, *entry.enabled);
    char columns[64] = {};
    std::snprintf(columns, sizeof columns, "%12s  %3u %%  ", PXUtil::getPrettySize(entry.savings).c_str(),
                  entry.status);
    invocation.print(record, columns + entry.folder + "\n");
}

ExitCode showHistory(Invocation &invocation)
{
    const auto folder = PXUtil::applicationSupportFolder();
    if (!folder)
        return invocation.fail("there is no application-support folder");
    const auto history = HistorySummary::read(*folder / "history.db");
    if (!history)
        return invocation.fail(history.failure());
    const auto entries = inBackground([&history] {
        return map(
            history->folders, [](const auto &record) { return PXHistoryController::historyEntryFor(&record); }, true);
    });
    for (const auto &entry : entries)
        print(invocation, *entry);
    if (history->previousSavings != 0)
        print(invocation, PXHistoryController::historyEntryForSavings(history->previousSavings));
    return ExitCode::Done;
}
