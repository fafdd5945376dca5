#include "Classes/PrefPane/HistoryEntry.h"

HistoryEntry::Value HistoryEntry::value(const std::string &key) const
{
    if (key == kSortID)
        return sortID;
    if (key == kFolder)
        return folder;
    if (key == kPath)
        return path;
    if (key == kStatus)
        return std::uint64_t(status);
    if (key == kSavings)
        return savings;
    if (key == kEnabled && enabled)
        return std::uint64_t(*enabled ? 1 : 0);
    return {};
}
