#include "Classes/Shared/DVHFSCompressionStructsHelper.h"

static constexpr std::uint32_t kResourceDataOffset = 256;
static constexpr std::uint32_t kResourceDataLength = sizeof(HFSPlusCmpfRsrcBlockHead);

template <class T>
static HeapBlock<T> zeroed()
{
    return HeapBlock<T>(static_cast<T *>(std::calloc(1, sizeof(T))));
}

HeapBlock<HFSPlusDecmpfs> DVHFSCompressionStructsHelper::createDecmpfsStructForSize(std::uint64_t uncompressedSize)
{
    auto header = zeroed<HFSPlusDecmpfs>();
    if (header) {
        header->magic = kDecmpfsMagic;
        header->compressionType = kResourceForkCompression;
        header->uncompressedSize = uncompressedSize;
    }
    return header;
}

HeapBlock<HFSPlusCmpfRsrcHead> DVHFSCompressionStructsHelper::createResourceHeader()
{
    auto head = zeroed<HFSPlusCmpfRsrcHead>();
    if (head) {
        head->dataOffset = kResourceDataOffset;
        head->mapOffset = kResourceDataOffset + kResourceDataLength;
        head->dataLength = kResourceDataLength;
        head->mapLength = sizeof(HFSPlusCmpfEnd);
    }
    return head;
}

HeapBlock<HFSPlusCmpfRsrcBlockHead> DVHFSCompressionStructsHelper::createBlocksHeader()
{
    return zeroed<HFSPlusCmpfRsrcBlockHead>();
}

HeapBlock<HFSPlusCmpfRsrcBlock> DVHFSCompressionStructsHelper::createPerBlockHeader()
{
    return zeroed<HFSPlusCmpfRsrcBlock>();
}

HeapBlock<HFSPlusCmpfRsrcBlock[]> DVHFSCompressionStructsHelper::createPerBlockHeadersForBlocks(std::uint32_t blocks)
{
    if (blocks == 0)
        return nullptr;
    auto *table = static_cast<HFSPlusCmpfRsrcBlock *>(std::calloc(blocks, sizeof(HFSPlusCmpfRsrcBlock)));
    if (table)
        table->blockOffset = std::uint32_t(blocks * sizeof(HFSPlusCmpfRsrcBlock) + sizeof(std::uint32_t));
    return HeapBlock<HFSPlusCmpfRsrcBlock[]>(table);
}

HeapBlock<HFSPlusCmpfRsrcBlock[]> DVHFSCompressionStructsHelper::createPerBlockHeadersForSize(
    std::uint64_t uncompressedSize)
{
    const std::int64_t blocks = blocksRequiredForUncompressedSize(std::int64_t(uncompressedSize));
    return createPerBlockHeadersForBlocks(std::uint32_t(blocks));
}

HeapBlock<HFSPlusCmpfEnd> DVHFSCompressionStructsHelper::createFooter()
{
    auto end = zeroed<HFSPlusCmpfEnd>();
    if (end) {
        end->typeListOffset = 28;
        end->nameListOffset = sizeof(HFSPlusCmpfEnd);
        end->resourceType = kDecmpfsMagic;
        end->refCountAndListOffset = 10;
        end->resourceIdAndNameOffset = 0xFFFF0100; // laid out as the file needs it: one resource, ID 1, without a name
    }
    return end;
}

std::int64_t DVHFSCompressionStructsHelper::blocksRequiredForUncompressedSize(std::int64_t size)
{
    // Added without sign, so that the largest sizes wrap as they do in the machine's arithmetic.
    constexpr std::uint64_t kBlock = kCompressionBlockSize;
    return std::int64_t(std::uint64_t(size) + kBlock - 1) / std::int64_t(kBlock);
}

void DVHFSCompressionStructsHelper::flipHFSPlusDecmpfs(HFSPlusDecmpfs *) {}

void DVHFSCompressionStructsHelper::flipRsrcHead(HFSPlusCmpfRsrcHead *head)
{
    head->dataOffset = __builtin_bswap32(head->dataOffset);
    head->mapOffset = __builtin_bswap32(head->mapOffset);
    head->dataLength = __builtin_bswap32(head->dataLength);
    head->mapLength = __builtin_bswap32(head->mapLength);
}

void DVHFSCompressionStructsHelper::flipRsrcBlockHead(HFSPlusCmpfRsrcBlockHead *head)
{
    head->dataSize = __builtin_bswap32(head->dataSize);
}

void DVHFSCompressionStructsHelper::flipRsrcBlock(HFSPlusCmpfRsrcBlock *) {}

void DVHFSCompressionStructsHelper::flipHFSPlusCmpfEnd(HFSPlusCmpfEnd *end)
{
    end->typeListOffset = __builtin_bswap16(end->typeListOffset);
    end->nameListOffset = __builtin_bswap16(end->nameListOffset);
    end->typeCountMinusOne = __builtin_bswap16(end->typeCountMinusOne);
    end->resourceType = __builtin_bswap32(end->resourceType);
    end->refCountAndListOffset = __builtin_bswap32(end->refCountAndListOffset);
}
