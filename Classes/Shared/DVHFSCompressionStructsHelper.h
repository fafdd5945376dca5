#pragma once

#include "Platform/Formats/CompressedFile.h"

#include <cstdint>
#include <cstdlib>
#include <memory>

/// Gives a block back to the C library, where it came from.
struct FreeBlock
{
    void operator()(void *block) const { std::free(block); }
};

/// A zero-filled block of the heap that its holder owns; `release()` hands it to whoever calls `free`.
template <class T>
using HeapBlock = std::unique_ptr<T, FreeBlock>;

/// Makes the structures of a compressed file with their constant fields filled in, in host order, and converts them
/// between host and file order. Each `flip…` is its own inverse. nullptr when memory is short. No instances; any
/// thread.
class DVHFSCompressionStructsHelper final
{
public:
    DVHFSCompressionStructsHelper() = delete;

    static HeapBlock<HFSPlusDecmpfs> createDecmpfsStructForSize(std::uint64_t uncompressedSize);
    static HeapBlock<HFSPlusCmpfRsrcHead> createResourceHeader();
    static HeapBlock<HFSPlusCmpfRsrcBlockHead> createBlocksHeader();
    static HeapBlock<HFSPlusCmpfRsrcBlock> createPerBlockHeader();

    /// A table of that many entries, the first of which begins right behind the table; none for 0 blocks.
    static HeapBlock<HFSPlusCmpfRsrcBlock[]> createPerBlockHeadersForBlocks(std::uint32_t blocks);
    static HeapBlock<HFSPlusCmpfRsrcBlock[]> createPerBlockHeadersForSize(std::uint64_t uncompressedSize);

    static HeapBlock<HFSPlusCmpfEnd> createFooter();

    static std::int64_t blocksRequiredForUncompressedSize(std::int64_t size);

    static void flipHFSPlusDecmpfs(HFSPlusDecmpfs *header);
    static void flipRsrcHead(HFSPlusCmpfRsrcHead *head);
    static void flipRsrcBlockHead(HFSPlusCmpfRsrcBlockHead *head);
    static void flipRsrcBlock(HFSPlusCmpfRsrcBlock *block);
    static void flipHFSPlusCmpfEnd(HFSPlusCmpfEnd *end);
};
