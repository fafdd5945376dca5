#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

/// A path in the file system's own bytes, which need not be UTF-8.
using Path = std::filesystem::path;

/// An unsigned number of bytes.
using ByteCount = std::uint64_t;

using Bytes = std::vector<std::uint8_t>;
using ByteView = std::span<const std::uint8_t>;

inline Bytes bytesOf(const std::string &text)
{
    return Bytes(text.begin(), text.end());
}

inline std::string stringOf(ByteView bytes)
{
    return std::string(bytes.begin(), bytes.end());
}
