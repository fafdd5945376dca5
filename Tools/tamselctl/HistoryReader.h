#pragma once

#include "Classes/PrefPane/FolderRefusal.h"
#include "Classes/PrefPane/HistoryRecord.h"
#include "Platform/Result.h"

#include <vector>

/// What the history store says now. A value.
struct HistorySummary
{
    std::vector<HistoryRecord> folders;  ///< those on the list, in the order in which they were added
    ByteCount totalSavings = 0;          ///< of all folders, those removed from the list too
    ByteCount previousSavings = 0;       ///< of those removed from the list
    std::vector<FolderRefusal> refusals; ///< what the helper did not take when it was asked last

    /// Reads the store at `path`, without making one: where there is none, nothing was saved. Errors: Corrupt, Busy,
    /// Permission, Io; NotFound when Tamsel's own files are not there.
    static Result<HistorySummary> read(const Path &path);
};
