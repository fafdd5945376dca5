#pragma once

#include "Classes/PrefPane/PXPathUncompressorObserver.h"

#include <variant>

/// What became of one file of a run: it was left alone, or it was tried and ended somehow.
using ExpansionReason = std::variant<ExpansionOutcome::Result, PXPathUncompressorObserver::LeftAlone>;

/// One file of a run. A value.
struct ExpansionEntry
{
    ExpansionReason reason;
    Path path;
    ByteCount before = 0;           ///< what it occupied while it was compressed; 0 where it was left alone
    ByteCount after = 0;            ///< its size when it was expanded, else 0
    bool isFlagLeftCleared = false; ///< it was known as compressed before, and is not now
    std::string detail = {};        ///< what the system said, for those who want to know; may be empty
};
