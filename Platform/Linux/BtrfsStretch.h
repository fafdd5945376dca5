#pragma once

#include "Platform/Types.h"

/// What btrfs makes of the content that it compresses in one go. Any thread.
namespace BtrfsStretch {

inline constexpr ByteCount kSize = ByteCount{128} << 10;

/// What a stretch of at most `kSize` bytes occupies in blocks of that size, once it was tried to be compressed with
/// zstd at the file system's own level. The whole of its blocks where none would be saved, as the file system does it.
ByteCount occupied(ByteView content, ByteCount blockSize);

} // namespace BtrfsStretch
