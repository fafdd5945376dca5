#pragma once

#include "Platform/Types.h"

/// The parts of a compressed file as its format has them, put together byte by byte, apart from the code under test.
namespace CompressedSample {

/// Text that compresses, `size` bytes of it.
Bytes text(std::size_t size);

/// The value of `com.apple.decmpfs`.
Bytes decmpfs(std::uint64_t size, std::uint32_t type = 4);

/// The resource fork of a file with that content.
Bytes fork(ByteView content);

/// A companion file with that resource fork and nothing else.
Bytes companion(ByteView fork);

/// Makes the file on the disk: empty, flagged, with header and companion.
void make(const Path &path, ByteView content);

/// Makes several with the same content, which is compressed once.
void make(const std::vector<Path> &paths, ByteView content);

} // namespace CompressedSample
