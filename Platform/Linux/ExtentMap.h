#pragma once

#include "Platform/Result.h"
#include "Platform/Types.h"

#include <array>
#include <cstddef>
#include <span>

#include <linux/fiemap.h>

/// Where a file's content lies on its volume, a piece at a time. One thread.
class ExtentMap final
{
public:
    /// What is still in memory has no place yet.
    enum class Memory { LeaveThere, WriteOut };

    /// Reads the extents from the byte `start` on, as many as fit.
    Result<void> read(int file, std::uint64_t start, const Path &path, Memory memory = Memory::LeaveThere);

    std::span<const fiemap_extent> extents() const;

    /// Whether there are none behind these.
    bool isLast() const;

    /// Where the next piece starts.
    std::uint64_t end() const;

private:
    static constexpr std::size_t kExtentsAtOnce = 128;

    alignas(fiemap) std::array<std::byte, sizeof(fiemap) + kExtentsAtOnce * sizeof(fiemap_extent)> m_room = {};
};
