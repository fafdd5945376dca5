#include "Classes/Shared/CompressedBlockReader.h"

#include <algorithm>
#include <cstring>
#include <zlib.h>

static constexpr std::uint32_t kWindowEntries = 4096;

static Failure corrupt(const std::string &what)
{
    return {ErrorCode::Corrupt, 0, what};
}

CompressedBlockReader::CompressedBlockReader(std::unique_ptr<ReadableFork> fork, const CompressedFork &heads)
    : m_fork(std::move(fork))
    , m_heads(heads)
{
}

Result<CompressedBlockReader> CompressedBlockReader::open(std::unique_ptr<ReadableFork> fork)
{
    const Result<CompressedFork> heads = readCompressedFork(*fork);
    if (!heads)
        return heads.failure();
    return CompressedBlockReader(std::move(fork), *heads);
}

Result<HFSPlusCmpfRsrcBlock> CompressedBlockReader::entry(std::uint32_t index)
{
    if (index >= count())
        return corrupt("there is no block " + std::to_string(index));
    if (index < m_windowStart || index - m_windowStart >= m_window.size()) {
        m_window.clear();
        Bytes bytes(std::min(kWindowEntries, count() - index) * sizeof(HFSPlusCmpfRsrcBlock));
        const ByteCount offset = m_heads.tableOffset() + ByteCount(index) * sizeof(HFSPlusCmpfRsrcBlock);
        const Result<std::size_t> got = m_fork->readAt(offset, bytes);
        if (!got)
            return got.failure();
        if (*got != bytes.size())
            return corrupt("the block table ends too early");
        m_window.resize(bytes.size() / sizeof(HFSPlusCmpfRsrcBlock));
        std::memcpy(m_window.data(), bytes.data(), bytes.size());
        m_windowStart = index;
    }
    return m_window[index - m_windowStart];
}

Result<Bytes> CompressedBlockReader::content(const HFSPlusCmpfRsrcBlock &block) const
{
    const ByteCount offset = m_heads.blockBase() + block.blockOffset;
    if (block.blockSize == 0 || block.blockSize > kCompressionBlockSize)
        return corrupt("a block of " + std::to_string(block.blockSize) + " bytes");
    if (offset < m_heads.tableEnd() || offset > forkSize() || block.blockSize > forkSize() - offset)
        return corrupt("a block lies outside the fork's data");
    Bytes packed(block.blockSize);
    const Result<std::size_t> got = m_fork->readAt(offset, packed);
    if (!got)
        return got.failure();
    if (*got != packed.size())
        return corrupt("a block ends too early");
    Bytes content(kCompressionBlockSize);
    uLongf length = uLongf(content.size());
    uLong used = uLong(packed.size());
    if (::uncompress2(content.data(), &length, packed.data(), &used) != Z_OK || used != packed.size())
        return corrupt("a block cannot be inflated");
    content.resize(length);
    return content;
}
