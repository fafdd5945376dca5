#pragma once

#include "Classes/Shared/fusage.h"
#include "Platform/Types.h"

/// Whether, and by whom, a file is used. What cannot be told is NO. No instances; one thread at a time.
class DVFileUsage final
{
public:
    DVFileUsage() = delete;

    static bool isFileOpen(const Path &path);
    static bool isFileOpen(const Path &path, bool excludingOwnProcess);

    /// Whether some process uses the file; `forWriting` receives whether one writes to it.
    static bool isFileOpen(const Path &path, bool *forWriting);

    /// The same, where `forWriting` leaves this process out when that is asked for. The answer does not leave it out;
    /// callers rely on it.
    static bool isFileOpen(const Path &path, bool *forWriting, bool excludingOwnProcess);

    /// The records of `get_fusage` and their number.
    static const FileUsageRecord *usersOfFile(const Path &path, std::uint32_t *count);
};
