// A header of 16 bytes and a fork behind it: whatever they claim, every block lies in the fork and is no larger than a
// block may be. And any content comes back the same from the fork that is built of it.

#include "Classes/Shared/CompressedBlockReader.h"
#include "Classes/Shared/CompressedForkBuilder.h"
#include "Platform/Formats/MemoryFork.h"

#include <algorithm>
#include <cstdlib>

static constexpr std::uint32_t kMostBlocks = 256;

static void require(bool holds)
{
    if (!holds)
        std::abort();
}

static Result<CompressedBlockReader> readerOf(Bytes fork)
{
    return CompressedBlockReader::open(std::make_unique<MemoryFork>(std::move(fork)));
}

static void readForeign(ByteView bytes)
{
    constexpr std::size_t kHeader = sizeof(HFSPlusDecmpfs);
    const std::optional<HFSPlusDecmpfs> header = readDecmpfs(bytes.first(std::min(bytes.size(), kHeader)));
    const ByteView fork = bytes.subspan(std::min(bytes.size(), kHeader));
    Result<CompressedBlockReader> blocks = readerOf(Bytes(fork.begin(), fork.end()));
    if (!blocks)
        return;
    require(blocks->heads().tableEnd() <= fork.size());
    if (header)
        require(boundedLogicalSize(*header, blocks->count()) <= blocks->count() * kCompressionBlockSize);
    for (std::uint32_t index = 0; index < std::min(blocks->count(), kMostBlocks); ++index) {
        const Result<HFSPlusCmpfRsrcBlock> entry = blocks->entry(index);
        require(bool(entry));
        if (const Result<Bytes> content = blocks->content(*entry))
            require(content->size() <= kCompressionBlockSize);
    }
    require(!blocks->entry(blocks->count()));
}

static void writeAndReadBack(ByteView content)
{
    Result<Bytes> fork = CompressedForkBuilder::build(content);
    if (!fork)
        return;
    Result<CompressedBlockReader> blocks = readerOf(std::move(*fork));
    require(bool(blocks));
    for (std::uint32_t index = 0; index < blocks->count(); ++index) {
        const Result<HFSPlusCmpfRsrcBlock> entry = blocks->entry(index);
        require(bool(entry));
        const Result<Bytes> block = blocks->content(*entry);
        require(block && block->size() <= content.size());
        require(std::equal(block->begin(), block->end(), content.begin()));
        content = content.subspan(block->size());
    }
    require(content.empty());
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    readForeign(ByteView(data, size));
    writeAndReadBack(ByteView(data, size));
    return 0;
}
