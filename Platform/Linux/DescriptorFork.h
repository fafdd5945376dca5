#pragma once

#include "Platform/FileSystem.h"
#include "Platform/Linux/Descriptor.h"

/// A stretch of an open file, read as a fork.
class DescriptorFork final : public ReadableFork
{
public:
    DescriptorFork(std::shared_ptr<const Descriptor> file, ByteCount offset, ByteCount length);

    ByteCount size() const override { return m_length; }
    Result<std::size_t> readAt(ByteCount offset, std::span<std::uint8_t> buffer) const override;

private:
    std::shared_ptr<const Descriptor> m_file;
    ByteCount m_offset;
    ByteCount m_length;
};
