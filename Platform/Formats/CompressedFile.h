#pragma once

#include "Platform/FileSystem.h"

#include <optional>

/// The layouts of a transparently compressed file, as Docs/Formats/CompressedFiles.md tells them.

/// The file's BSD flag.
inline constexpr std::uint32_t kCompressedFlag = 0x20;

/// The BSD flags that the platform's file manager reports and sets: the owner's "immutable" and "append only".
inline constexpr std::uint32_t kImmutableFlag = 0x2;
inline constexpr std::uint32_t kAppendOnlyFlag = 0x4;

/// Uncompressed bytes in each block; the last one may have fewer.
inline constexpr ByteCount kCompressionBlockSize = 65536;

/// The compression type of a file whose blocks lie in its resource fork.
inline constexpr std::uint32_t kResourceForkCompression = 4;

inline constexpr char kDecmpfsAttribute[] = "com.apple.decmpfs";
inline constexpr char kResourceForkAttribute[] = "com.apple.ResourceFork";

#pragma pack(push, 1)

/// The value of the attribute `com.apple.decmpfs`; inline data may follow. Little-endian.
struct HFSPlusDecmpfs
{
    std::uint32_t magic;
    std::uint32_t compressionType;
    std::uint64_t uncompressedSize;
};

/// The first bytes of the resource fork. Big-endian.
struct HFSPlusCmpfRsrcHead
{
    std::uint32_t dataOffset;
    std::uint32_t mapOffset;
    std::uint32_t dataLength;
    std::uint32_t mapLength;
};

/// What stands before the block table, at `dataOffset`.
struct HFSPlusCmpfRsrcBlockHead
{
    std::uint32_t dataSize;  ///< big-endian; of what follows this field
    std::uint32_t numBlocks; ///< little-endian
};

/// One entry of the block table. Little-endian.
struct HFSPlusCmpfRsrcBlock
{
    std::uint32_t blockOffset; ///< from the field `numBlocks`
    std::uint32_t blockSize;
};

/// The resource map at the end of the fork. Big-endian but for `resourceIdAndNameOffset`.
struct HFSPlusCmpfEnd
{
    std::uint32_t reserved[6];
    std::uint16_t typeListOffset;
    std::uint16_t nameListOffset;
    std::uint16_t typeCountMinusOne;
    std::uint32_t resourceType;
    std::uint32_t refCountAndListOffset;
    std::uint32_t resourceIdAndNameOffset;
    std::uint32_t refAttributesAndDataOffset;
    std::uint32_t refHandle;
};

#pragma pack(pop)

static_assert(sizeof(HFSPlusDecmpfs) == 16 && sizeof(HFSPlusCmpfRsrcHead) == 16);
static_assert(sizeof(HFSPlusCmpfRsrcBlockHead) == 8 && sizeof(HFSPlusCmpfRsrcBlock) == 8);
static_assert(sizeof(HFSPlusCmpfEnd) == 50);

/// The bytes "fpmc", as a number that is stored little-endian.
inline constexpr std::uint32_t kDecmpfsMagic = 0x636D7066;

/// Reads the value of `com.apple.decmpfs`; nothing when it is too short or has another magic.
std::optional<HFSPlusDecmpfs> readDecmpfs(ByteView value);

/// Where the blocks of a fork lie.
struct CompressedFork
{
    HFSPlusCmpfRsrcHead head = {};           ///< in host order
    HFSPlusCmpfRsrcBlockHead blockHead = {}; ///< in host order

    /// The place of the block table in the fork.
    ByteCount tableOffset() const { return ByteCount(head.dataOffset) + sizeof blockHead; }

    /// The place from which a table entry counts its block's offset.
    ByteCount blockBase() const { return ByteCount(head.dataOffset) + sizeof blockHead.dataSize; }

    /// The first byte behind the table, where the first block lies.
    ByteCount tableEnd() const { return tableOffset() + ByteCount(blockHead.numBlocks) * sizeof(HFSPlusCmpfRsrcBlock); }
};

/// Reads both heads of a fork. Errors: Corrupt when the fork has no room for them and for the table that they announce.
Result<CompressedFork> readCompressedFork(const ReadableFork &fork);

/// What a program reads of a compressed file: the size in its header, bounded by what the blocks can hold.
ByteCount boundedLogicalSize(const HFSPlusDecmpfs &header, std::uint32_t blocks);
