#include "Classes/Shared/BlockInflater.h"

#include <zlib.h>

std::optional<std::size_t> BlockInflater::inflate(ByteView packed, std::span<std::uint8_t> content)
{
    if (const std::optional<std::size_t> length = m_fast.inflate(packed, content))
        return length;
    uLongf length = uLongf(content.size());
    if (::uncompress(content.data(), &length, packed.data(), uLong(packed.size())) != Z_OK)
        return std::nullopt;
    return std::size_t(length);
}
