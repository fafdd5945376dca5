#pragma once

#include "Platform/Fake/FakeFileSystem.h"

/// A file, folder or link of the fake, whatever names it has.
struct FakeFileSystem::Node
{
    FileStatus status;
    Bytes content;
    Path target; ///< of a link
    std::map<std::string, Bytes> attributes;
    std::optional<Bytes> fork;
    std::uint32_t flags = 0;
    bool isUnreadable = false;
    bool isOnCompressingVolume = false;

    std::uint32_t visibleFlags() const;
};

/// What that many bytes take on the medium.
inline ByteCount occupiedBlocks(ByteCount size)
{
    constexpr ByteCount kBlock = 4096;
    return (size + kBlock - 1) / kBlock * kBlock;
}
