#pragma once

#include "Platform/Types.h"

#include <string>

/// How one expansion ended, told more closely than by yes or no. A value.
struct ExpansionOutcome
{
    enum class Result {
        Expanded,
        NotCompressed,       ///< the flag is clear, and it counted
        HasContent,          ///< its data fork is not empty: the fork beside it is stale
        ForkShared,          ///< other names of the file need the fork beside it
        NotReplaceable,      ///< what stands at the destination is no regular file
        Unreadable,          ///< source or destination cannot be looked at
        FlagNotCleared,      ///< the flag cannot be changed
        NoFork,              ///< the resource fork is missing, or cannot be opened
        OutputRefused,       ///< the output cannot be made, or another process makes it just now
        ForkDamaged,         ///< the fork's head or block table is not whole
        BlockUnreadable,     ///< a block cannot be read
        BlockDamaged,        ///< a block cannot be inflated
        NotWritten,          ///< the output cannot be written
        NoSpace,             ///< there is no room for the output
        AttributesNotCopied, ///< an attribute would have been lost
        AccessNotKept,       ///< mode, owner, times or access lists would have been lost
        SizeDiffers,         ///< the header states another size, and the fork would be lost with the file
        BeingWritten,        ///< another process has the destination open for writing
        Changed,             ///< the destination was changed meanwhile, or the rename failed
        Cancelled
    };

    Result result = Result::Unreadable;
    ByteCount writtenSize = 0;      ///< bytes of the output
    bool isFlagLeftCleared = false; ///< the source was known as compressed before, and is not now
    std::string reason;             ///< what the system said, for logs; empty where it said nothing
    std::string reasonForkKept;     ///< why a fork that is no longer wanted was kept; empty when none was
};
