#include "Classes/Shared/CompressedForkBuilder.h"

#include "Classes/Shared/DVHFSCompressionStructsHelper.h"
#include "Classes/Shared/FastZlib.h"

#include <algorithm>
#include <limits>

using Helper = DVHFSCompressionStructsHelper;

template <class Structure>
static void append(Bytes &bytes, const Structure &structure)
{
    const auto *begin = reinterpret_cast<const std::uint8_t *>(&structure);
    bytes.insert(bytes.end(), begin, begin + sizeof structure);
}

/// Deflates block after block behind `fork` and notes each in the table, with offsets from the start of the blocks.
static Result<void> appendBlocks(ByteView content, Bytes &fork, std::vector<HFSPlusCmpfRsrcBlock> &table)
{
    FastZlib zlib;
    ByteCount offset = 0;
    while (!content.empty()) {
        const ByteView block = content.first(std::min<std::size_t>(content.size(), kCompressionBlockSize));
        // What does not shrink is stored inside the stream, which makes it a few bytes longer: a short last block still
        // fits then, a full one does not.
        Bytes packed(kCompressionBlockSize);
        const std::optional<std::size_t> length = zlib.deflate(block, packed);
        if (!length)
            return Failure{ErrorCode::NotSupported, 0, "a part of the file does not become smaller"};
        table.push_back({std::uint32_t(offset), std::uint32_t(*length)});
        fork.insert(fork.end(), packed.begin(), packed.begin() + std::ptrdiff_t(*length));
        offset += *length;
        content = content.subspan(block.size());
    }
    return {};
}

Result<Bytes> CompressedForkBuilder::build(ByteView content)
{
    Bytes blocks;
    std::vector<HFSPlusCmpfRsrcBlock> table;
    if (const Result<void> appended = appendBlocks(content, blocks, table); !appended)
        return appended.failure();
    const ByteCount tableSize = table.size() * sizeof(HFSPlusCmpfRsrcBlock);
    const ByteCount dataSize = sizeof(HFSPlusCmpfRsrcBlockHead::numBlocks) + tableSize + blocks.size();
    const auto head = Helper::createResourceHeader();
    const auto blockHead = Helper::createBlocksHeader();
    const auto entries = Helper::createPerBlockHeadersForBlocks(std::uint32_t(table.size()));
    const auto end = Helper::createFooter();
    if (!head || !blockHead || !end || (!entries && !table.empty()))
        return Failure{ErrorCode::Io, ENOMEM, "there is not enough memory"};
    if (dataSize > std::numeric_limits<std::uint32_t>::max() - head->dataOffset - sizeof *blockHead - sizeof *end)
        return Failure{ErrorCode::TooLarge, EFBIG, "compressed it would be larger than a fork can be"};
    head->dataLength = std::uint32_t(sizeof blockHead->dataSize + dataSize);
    head->mapOffset = head->dataOffset + head->dataLength;
    blockHead->dataSize = std::uint32_t(dataSize);
    blockHead->numBlocks = std::uint32_t(table.size());
    const std::uint32_t first = table.empty() ? 0 : entries[0].blockOffset;
    const std::uint32_t dataOffset = head->dataOffset;
    Helper::flipRsrcHead(head.get());
    Helper::flipRsrcBlockHead(blockHead.get());
    Helper::flipHFSPlusCmpfEnd(end.get());

    Bytes fork;
    fork.reserve(dataOffset + sizeof *blockHead + tableSize + blocks.size() + sizeof *end);
    append(fork, *head);
    fork.resize(dataOffset);
    append(fork, *blockHead);
    for (std::size_t index = 0; index < table.size(); ++index) {
        entries[index] = {first + table[index].blockOffset, table[index].blockSize};
        Helper::flipRsrcBlock(&entries[index]);
        append(fork, entries[index]);
    }
    fork.insert(fork.end(), blocks.begin(), blocks.end());
    append(fork, *end);
    return fork;
}
