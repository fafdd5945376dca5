#pragma once

#include "Platform/TransparentCompression.h"

#include <chrono>
#include <optional>

/// What decides whether a file is compressed by its volume. What is not known yet speaks for it. A value.
struct CompressionFacts
{
    /// Why a file is left as it is.
    enum class Reason {
        NotRegular,
        AnothersFile,
        Excluded,
        TooSmall,
        NotWritable,
        Young,          ///< changed a short time ago
        SwitchedOff,    ///< somebody wants it so, or the volume has found that it does not get smaller
        WrittenInPlace, ///< such files are never compressed
        NearlyFull,     ///< the volume is
        Shared,         ///< with a copy or a snapshot, so that writing it anew would take room
        AlreadyCompressed,
        DoesNotShrink,
        BeingWritten, ///< some process has it open or mapped for writing
    };

    struct Limits
    {
        std::chrono::seconds youth{300}; ///< a file that was changed less long ago is young
        unsigned percentFree = 5;        ///< a volume with less than this is nearly full

        bool isNearlyFull(const VolumeRoom &room) const { return room.available < room.total / 100 * percentFree; }
    };

    FileStatus file;
    std::uint32_t user = 0; ///< who asks
    std::int64_t now = 0;   ///< seconds since 1970
    ByteCount blockSize = 4096;
    bool isExcluded = false;
    bool isWritable = true;
    CompressibleFile::Wish wish = CompressibleFile::Wish::None;
    bool isWrittenInPlace = false;
    std::optional<VolumeRoom> room;
    bool isShared = false;
    bool hasPlainContent = true; ///< at least a block that is neither compressed nor a hole

    /// Learns what an open file says of itself: everything but who asks and when, and whether it is excluded or
    /// writable. What was not on the medium yet is brought there.
    Result<void> ask(const CompressibleFile &opened);

    /// The first reason to leave the file alone; nullopt when there is none.
    std::optional<Reason> reasonToLeaveAlone(const Limits &limits) const;

    static const char *nameOf(Reason reason);

    /// Nothing for a name that no reason has.
    static std::optional<Reason> reasonNamed(const std::string &name);

private:
    bool isYoung(std::chrono::seconds youth) const;
    Result<void> askExtents(const CompressibleFile &opened);
};
