#pragma once

#include "Platform/Types.h"

#include <concepts>
#include <cstddef>

/// Appends `value` with its most significant byte first.
template <std::unsigned_integral T>
void appendBigEndian(Bytes &bytes, T value)
{
    for (std::size_t shift = sizeof(T) * 8; shift != 0; shift -= 8)
        bytes.push_back(std::uint8_t(value >> (shift - 8)));
}

/// Reads a stranger's bytes from front to back. Past the end every read answers zeros, and `isGood` is false from then
/// on, so that a layout can be read through and judged once.
class BigEndianReader final
{
public:
    explicit BigEndianReader(ByteView bytes)
        : m_bytes(bytes)
    {
    }

    bool isGood() const { return m_good; }
    std::size_t position() const { return m_position; }
    std::size_t remaining() const { return m_bytes.size() - m_position; }

    template <std::unsigned_integral T>
    T read()
    {
        T value = 0;
        for (const std::uint8_t byte : take(sizeof(T)))
            value = T(T(value << 7 << 1) | byte);
        return value;
    }

    /// The next `count` bytes, or none when there are fewer.
    ByteView take(std::size_t count)
    {
        if (!m_good || count > remaining()) {
            m_good = false;
            return {};
        }
        const ByteView taken = m_bytes.subspan(m_position, count);
        m_position += count;
        return taken;
    }

private:
    ByteView m_bytes;
    std::size_t m_position = 0;
    bool m_good = true;
};
