#pragma once

#include "Platform/FileSystem.h"

#include <algorithm>

/// A fork whose bytes are in memory.
class MemoryFork final : public ReadableFork
{
public:
    explicit MemoryFork(Bytes content)
        : m_content(std::move(content))
    {
    }

    ByteCount size() const override { return m_content.size(); }

    Result<std::size_t> readAt(ByteCount offset, std::span<std::uint8_t> buffer) const override
    {
        if (offset >= m_content.size())
            return std::size_t{0};
        const ByteView left = ByteView(m_content).subspan(std::size_t(offset));
        const std::size_t count = std::min(left.size(), buffer.size());
        std::copy_n(left.begin(), count, buffer.begin());
        return count;
    }

private:
    Bytes m_content;
};
