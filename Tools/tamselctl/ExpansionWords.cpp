#include "Tools/tamselctl/ExpansionWords.h"

ExpansionWords wordsFor(ExpansionOutcome::Result result)
{
    using Result = ExpansionOutcome::Result;
    switch (result) {
    case Result::Expanded:
        return {"expanded", "expanded"};
    case Result::NotCompressed:
        return {"notCompressed", "it is not stored compressed"};
    case Result::HasContent:
        return {"hasContent", "it has content of its own"};
    case Result::ForkShared:
        return {"forkShared", "it has other names, which share the compressed content beside this one"};
    case Result::NotReplaceable:
        return {"notReplaceable", "only a regular file can be replaced"};
    case Result::Unreadable:
        return {"unreadable", "it cannot be looked at"};
    case Result::FlagNotCleared:
        return {"flagNotCleared", "its flag cannot be changed"};
    case Result::NoFork:
        return {"noFork", "its compressed content is missing or cannot be opened"};
    case Result::OutputRefused:
        return {"outputRefused", "the expanded file cannot be made"};
    case Result::ForkDamaged:
        return {"forkDamaged", "its table of blocks is damaged"};
    case Result::BlockUnreadable:
        return {"blockUnreadable", "a block cannot be read"};
    case Result::BlockDamaged:
        return {"blockDamaged", "a block is damaged"};
    case Result::NotWritten:
        return {"notWritten", "the expanded file cannot be written"};
    case Result::NoSpace:
        return {"noSpace", "there is no room for the expanded file"};
    case Result::AttributesNotCopied:
        return {"attributesNotCopied", "its attributes cannot be kept"};
    case Result::AccessNotKept:
        return {"accessNotKept", "its owner, mode or access lists cannot be kept"};
    case Result::SizeDiffers:
        return {"sizeDiffers", "its blocks hold another size than it states"};
    case Result::BeingWritten:
        return {"beingWritten", "another process has it open for writing"};
    case Result::Changed:
        return {"changed", "it was changed meanwhile, or cannot be replaced"};
    case Result::Cancelled:
        return {"cancelled", "cancelled"};
    }
    return {"unknown", "unknown"};
}

ExpansionWords wordsFor(PXPathUncompressorObserver::LeftAlone reason)
{
    using LeftAlone = PXPathUncompressorObserver::LeftAlone;
    switch (reason) {
    case LeftAlone::NotRegular:
        return {"notRegular", "no regular file"};
    case LeftAlone::Unreadable:
        return {"unreadable", "it cannot be looked at"};
    case LeftAlone::Damaged:
        return {"damaged", "its compressed content is missing or damaged"};
    case LeftAlone::TooSmall:
        return {"tooSmall", "less than 4096 bytes"};
    case LeftAlone::FlagCleared:
        return {"flagCleared", "no longer known as compressed"};
    case LeftAlone::NotCompressed:
        return {"notCompressed", "not stored compressed"};
    case LeftAlone::AnothersFile:
        return {"anothersFile", "another user's"};
    case LeftAlone::NotWritable:
        return {"notWritable", "not writable"};
    case LeftAlone::AnothersGroup:
        return {"anothersGroup", "of a group that is not among yours"};
    }
    return {"unknown", "unknown"};
}

bool isLeftAlone(ExpansionOutcome::Result result)
{
    using Result = ExpansionOutcome::Result;
    return result == Result::NotCompressed || result == Result::HasContent || result == Result::ForkShared ||
           result == Result::BeingWritten;
}
