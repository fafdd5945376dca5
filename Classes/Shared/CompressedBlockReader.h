#pragma once

#include "Platform/Formats/CompressedFile.h"

#include <memory>

/// Reads the blocks of a compressed file's fork one by one, trusting nothing in it. Memory is bounded whatever the
/// fork's size. One thread.
class CompressedBlockReader final
{
public:
    /// Errors: those of `readCompressedFork`.
    static Result<CompressedBlockReader> open(std::unique_ptr<ReadableFork> fork);

    const CompressedFork &heads() const { return m_heads; }
    const ReadableFork &fork() const { return *m_fork; }
    ByteCount forkSize() const { return m_fork->size(); }
    std::uint32_t count() const { return m_heads.blockHead.numBlocks; }

    /// An entry of the block table, as stored. `index`: below `count()`. Errors: Corrupt, Io.
    Result<HFSPlusCmpfRsrcBlock> entry(std::uint32_t index);

    /// The content of a block, at most 65536 bytes. Errors: Corrupt when it does not lie behind the table and inside
    /// the fork, is larger than 65536 bytes, or is no whole zlib stream of at most 65536 bytes; Io.
    Result<Bytes> content(const HFSPlusCmpfRsrcBlock &block) const;

private:
    CompressedBlockReader(std::unique_ptr<ReadableFork> fork, const CompressedFork &heads);

    std::unique_ptr<ReadableFork> m_fork;
    CompressedFork m_heads;
    std::vector<HFSPlusCmpfRsrcBlock> m_window; ///< part of the table
    std::uint32_t m_windowStart = 0;
};
