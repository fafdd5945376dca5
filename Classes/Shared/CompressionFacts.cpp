#include "Classes/Shared/CompressionFacts.h"

#include <utility>

using Reason = CompressionFacts::Reason;

static constexpr std::pair<Reason, const char *> kNames[] = {
    {Reason::NotRegular, "notRegular"},       {Reason::AnothersFile, "anothersFile"},
    {Reason::Excluded, "excluded"},           {Reason::TooSmall, "tooSmall"},
    {Reason::NotWritable, "notWritable"},     {Reason::Young, "young"},
    {Reason::SwitchedOff, "switchedOff"},     {Reason::WrittenInPlace, "writtenInPlace"},
    {Reason::NearlyFull, "nearlyFull"},       {Reason::Shared, "shared"},
    {Reason::DoesNotShrink, "doesNotShrink"}, {Reason::AlreadyCompressed, "alreadyCompressed"},
    {Reason::BeingWritten, "beingWritten"},
};

const char *CompressionFacts::nameOf(Reason reason)
{
    for (const auto &[each, name] : kNames) {
        if (each == reason)
            return name;
    }
    return "";
}

std::optional<Reason> CompressionFacts::reasonNamed(const std::string &name)
{
    for (const auto &[reason, each] : kNames) {
        if (name == each)
            return reason;
    }
    return std::nullopt;
}

Result<void> CompressionFacts::ask(const CompressibleFile &opened)
{
    const Result<FileStatus> status = opened.status();
    if (!status)
        return status.failure();
    const Result<CompressibleFile::Wish> wishOfFile = opened.wish();
    if (!wishOfFile)
        return wishOfFile.failure();
    const Result<bool> inPlace = opened.isWrittenInPlace();
    if (!inPlace)
        return inPlace.failure();
    const Result<VolumeRoom> roomOfVolume = opened.room();
    if (!roomOfVolume)
        return roomOfVolume.failure();
    file = *status;
    wish = *wishOfFile;
    isWrittenInPlace = *inPlace;
    room = *roomOfVolume;
    blockSize = opened.blockSize();
    return askExtents(opened);
}

Result<void> CompressionFacts::askExtents(const CompressibleFile &opened)
{
    isShared = false;
    hasPlainContent = false;
    for (ByteCount offset = 0;;) {
        const Result<std::vector<StoredExtent>> extents = opened.extentsFrom(offset);
        if (!extents)
            return extents.failure();
        if (extents->empty())
            return {};
        for (const StoredExtent &extent : *extents) {
            isShared |= extent.isShared;
            hasPlainContent |= !extent.isCompressed && !extent.isEmbedded && extent.isWritten;
        }
        offset = extents->back().end();
    }
}

/// The time of status change tells of what was written, whatever time the writer has put on the file; it lies ahead
/// where the clock was set back.
bool CompressionFacts::isYoung(std::chrono::seconds youth) const
{
    const auto isRecent = [&](std::int64_t then) {
        const std::int64_t since = now - then;
        return since < youth.count() && since > -youth.count();
    };
    return isRecent(file.modified) || isRecent(file.changed);
}

std::optional<Reason> CompressionFacts::reasonToLeaveAlone(const Limits &limits) const
{
    if (file.type != FileType::Regular)
        return Reason::NotRegular;
    if (file.owner != user)
        return Reason::AnothersFile;
    if (isExcluded)
        return Reason::Excluded;
    if (file.size <= blockSize) // one block cannot become fewer
        return Reason::TooSmall;
    if (!isWritable)
        return Reason::NotWritable;
    if (isYoung(limits.youth))
        return Reason::Young;
    if (wish == CompressibleFile::Wish::LeaveAlone)
        return Reason::SwitchedOff;
    if (isWrittenInPlace)
        return Reason::WrittenInPlace;
    if (isShared)
        return Reason::Shared;
    if (!hasPlainContent)
        return Reason::AlreadyCompressed;
    if (room && limits.isNearlyFull(*room))
        return Reason::NearlyFull;
    return std::nullopt;
}
