#pragma once

#include "Platform/AliasManager.h"
#include "Platform/Result.h"
#include "Platform/Types.h"

#include <cstdint>
#include <string>
#include <vector>

/// One variable-length piece of an alias record.
struct AliasTag
{
    enum : std::int16_t {
        kFolderName = 0,
        kEnclosingIDs = 1,
        kColonPath = 2,
        kTargetName = 14,
        kVolumeName = 15,
        kVolumeDate = 16,
        kTargetDate = 17,
        kPosixPath = 18,
        kMountPoint = 19,
        kDiskImageAlias = 20,
        kHomePrefixLength = 21,
        kIdentity = 0x4C78, ///< "Lx", ours: `AliasIdentity`
    };

    std::int16_t tag = 0;
    Bytes value;

    friend bool operator==(const AliasTag &, const AliasTag &) = default;
};

/// An alias record, read from version 2 or 3 and written as version 2. The layout is told in
/// Docs/Formats/AliasRecords.md. A value; unknown tags are kept in their places.
struct AliasRecord
{
    static constexpr std::uint16_t kFile = 0;
    static constexpr std::uint16_t kFolder = 1;
    static constexpr std::int16_t kUnknownLevels = -1;

    std::uint32_t application = 0;
    std::uint16_t kind = kFile;
    std::string oldVolumeName;    ///< UTF-8; of 27 Mac Roman characters at most, none in version 3
    std::string oldTargetName;    ///< UTF-8; of 63 Mac Roman characters at most, none in version 3
    std::uint64_t volumeDate = 0; ///< 1/65536 s since 1904-01-01
    std::uint64_t targetDate = 0; ///< 1/65536 s since 1904-01-01
    std::uint16_t signature = 0;
    std::uint16_t diskType = 0;
    std::uint32_t parentID = 0;
    std::uint32_t targetID = 0;
    std::uint32_t creator = 0;
    std::uint32_t type = 0;
    std::int16_t levelsFrom = kUnknownLevels;
    std::int16_t levelsTo = kUnknownLevels;
    std::uint32_t volumeAttributes = 0;
    std::uint16_t fileSystemID = 0;
    Bytes reserved; ///< ten bytes in version 2, fourteen in version 3
    std::vector<AliasTag> tags;
    Bytes trailer; ///< what stands behind the record's stated size: the application's own

    /// Errors: Corrupt, the context naming what is wrong and at which offset.
    static Result<AliasRecord> parse(ByteView bytes);

    /// Version 2. Errors: TooLarge when the tags do not fit a record of 65535 bytes.
    Result<Bytes> encode() const;

    /// The value of the first such tag, or nullptr.
    const Bytes *find(std::int16_t tag) const;

    /// Replaces the first such tag or adds it at the end.
    void set(std::int16_t tag, Bytes value);

    friend bool operator==(const AliasRecord &, const AliasRecord &) = default;
};

/// Bits of `volumeAttributes` in records that bear an identity tag.
enum AliasVolumeAttribute : std::uint32_t {
    kAliasBootVolume = 1,
    kAliasAutomounted = 2,
    kAliasEjectable = 4,
    kAliasPersistentIDs = 8,
};

/// What `record` says of its target: the Unicode names before the old ones, the full path from mount point and POSIX
/// path, else from the path with colons, below /Volumes.
AliasInfo describe(const AliasRecord &record);
