#include "Platform/Formats/CompressedFile.h"

#include <algorithm>
#include <bit>
#include <cstring>

static_assert(std::endian::native == std::endian::little, "the little-endian fields are used as they are read");

std::optional<HFSPlusDecmpfs> readDecmpfs(ByteView value)
{
    HFSPlusDecmpfs header = {};
    if (value.size() < sizeof header)
        return std::nullopt;
    std::memcpy(&header, value.data(), sizeof header);
    if (header.magic != kDecmpfsMagic)
        return std::nullopt;
    return header;
}

static Failure corrupt(const std::string &what)
{
    return {ErrorCode::Corrupt, 0, what};
}

template <class Structure>
static Result<bool> readStructure(const ReadableFork &fork, ByteCount offset, Structure &structure)
{
    std::uint8_t bytes[sizeof structure] = {};
    const Result<std::size_t> got = fork.readAt(offset, bytes);
    if (!got)
        return got.failure();
    std::memcpy(&structure, bytes, sizeof structure);
    return *got == sizeof structure;
}

Result<CompressedFork> readCompressedFork(const ReadableFork &fork)
{
    CompressedFork answer;
    const Result<bool> hasHead = readStructure(fork, 0, answer.head);
    if (!hasHead)
        return hasHead.failure();
    if (!*hasHead)
        return corrupt("the fork is shorter than its head");
    HFSPlusCmpfRsrcHead &head = answer.head;
    head.dataOffset = __builtin_bswap32(head.dataOffset);
    head.mapOffset = __builtin_bswap32(head.mapOffset);
    head.dataLength = __builtin_bswap32(head.dataLength);
    head.mapLength = __builtin_bswap32(head.mapLength);
    const Result<bool> hasBlockHead = readStructure(fork, head.dataOffset, answer.blockHead);
    if (!hasBlockHead)
        return hasBlockHead.failure();
    if (!*hasBlockHead)
        return corrupt("the fork's data begins past its end");
    answer.blockHead.dataSize = __builtin_bswap32(answer.blockHead.dataSize);
    const ByteCount room = (fork.size() - answer.tableOffset()) / sizeof(HFSPlusCmpfRsrcBlock);
    if (answer.blockHead.numBlocks > room)
        return corrupt("the fork's block table is longer than the fork");
    return answer;
}

ByteCount boundedLogicalSize(const HFSPlusDecmpfs &header, std::uint32_t blocks)
{
    return std::min<ByteCount>(header.uncompressedSize, blocks * kCompressionBlockSize);
}
