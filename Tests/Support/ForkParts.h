#pragma once

#include "Tests/Support/CompressedSample.h"

#include <algorithm>
#include <zlib.h>

/// Resource forks put together from parts that need not fit.
namespace ForkParts {

inline Bytes deflated(ByteView content)
{
    Bytes packed(::compressBound(uLong(content.size())));
    uLongf length = uLongf(packed.size());
    ::compress2(packed.data(), &length, content.data(), uLong(content.size()), 9);
    packed.resize(length);
    return packed;
}

inline void putLittle(Bytes &bytes, std::size_t place, std::uint32_t number)
{
    for (int index = 0; index < 4; ++index)
        bytes.at(place + std::size_t(index)) = std::uint8_t(number >> (8 * index));
}

/// A fork with these blocks one behind the other. `sizes`, where given, is what the table says of each.
inline Bytes fork(const std::vector<Bytes> &blocks, std::vector<std::uint32_t> sizes = {})
{
    constexpr std::size_t kHead = 264;
    Bytes fork = CompressedSample::fork({});
    fork.resize(kHead + blocks.size() * 8);
    putLittle(fork, 260, std::uint32_t(blocks.size()));
    for (std::size_t index = 0; index < blocks.size(); ++index) {
        // Where it says that they lie is nowhere: the expander does not look.
        putLittle(fork, kHead + index * 8, 0xFFFFFFFF);
        putLittle(fork, kHead + index * 8 + 4,
                  index < sizes.size() ? sizes[index] : std::uint32_t(blocks[index].size()));
        fork.insert(fork.end(), blocks[index].begin(), blocks[index].end());
    }
    return fork;
}

} // namespace ForkParts
