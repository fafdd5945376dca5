#pragma once

#include "Classes/Shared/ExpansionOutcome.h"
#include "Platform/Result.h"
#include "Platform/Types.h"

/// Told more of a run than a delegate: what became of every file, and what could not be read. On the thread that runs
/// it.
class PXPathUncompressorObserver
{
public:
    /// Why a file was left alone: the first test that it failed.
    enum class LeftAlone {
        NotRegular,  ///< a link, a pipe, a device
        Unreadable,  ///< how large it is cannot be told
        Damaged,     ///< stored compressed, but what it is to be made from is missing or not whole
        TooSmall,    ///< less than 4096 bytes
        FlagCleared, ///< an expansion that failed or was killed left it so; it can be repaired
        NotCompressed,
        AnothersFile,
        NotWritable,
        AnothersGroup, ///< a group that the process does not belong to
    };

    virtual ~PXPathUncompressorObserver() = default;

    virtual void fileLeftAlone(const Path &, LeftAlone) {}

    /// A file or folder that cannot be looked at: what may lie below it was not met, or not all of it.
    virtual void pathUnreadable(const Path &, const Failure &) {}

    virtual void expansionEnded(const Path &, const ExpansionOutcome &) {}
};
