#include "Platform/Linux/DescriptorFork.h"

#include "Platform/Linux/FileCalls.h"

#include <algorithm>

DescriptorFork::DescriptorFork(std::shared_ptr<const Descriptor> file, ByteCount offset, ByteCount length)
    : m_file(std::move(file))
    , m_offset(offset)
    , m_length(length)
{
}

Result<std::size_t> DescriptorFork::readAt(ByteCount offset, std::span<std::uint8_t> buffer) const
{
    if (offset >= m_length)
        return std::size_t{0};
    const ByteCount left = std::min<ByteCount>(buffer.size(), m_length - offset);
    return FileCalls::readAt(m_file->get(), m_offset + offset, buffer.first(std::size_t(left)));
}
