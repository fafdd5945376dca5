#pragma once

#include "Platform/Types.h"

#include <cstdint>
#include <optional>

/// Which file or folder an alias record was made for, beyond what the published layout has room for: the value of
/// `AliasTag::kIdentity`. Its bytes are told in Docs/Formats/AliasRecords.md.
struct AliasIdentity
{
    struct Birth
    {
        std::int64_t seconds = 0; ///< since 1970-01-01 UTC
        std::uint32_t nanoseconds = 0;

        friend bool operator==(const Birth &, const Birth &) = default;
    };

    Bytes volumeUuid;               ///< 16 bytes, or none where the file system tells none
    std::uint64_t fileSystemId = 0; ///< what statfs answers
    std::uint64_t inode = 0;
    std::optional<Birth> birth;
    std::uint32_t handleType = 0;
    Bytes handle;                 ///< at most 128 bytes; carries the inode's generation
    bool hasPersistentIds = true; ///< whether inode numbers on this volume outlive being forgotten by the kernel

    Bytes encode() const;

    /// Nothing for bytes that are no identity of a version known here.
    static std::optional<AliasIdentity> parse(ByteView bytes);

    /// Whether both lie on one volume: by its UUID where both know it, else by the file-system id.
    bool isOnVolumeOf(const AliasIdentity &other) const;

    /// Whether both are one file: volume, inode number and handle; the birth time where handles cannot be compared.
    /// On a volume without persistent numbers only the birth time counts, and without one no two are the same.
    bool isSameAs(const AliasIdentity &other) const;

    friend bool operator==(const AliasIdentity &, const AliasIdentity &) = default;
};
