#pragma once

#include "Platform/Result.h"
#include "Platform/Types.h"

#include <sys/stat.h>

/// What a volume compresses by itself, without the programs above it knowing. Any thread.
namespace VolumeCompression {

/// Whether any part of the file lies compressed on its volume. Only of a regular file on btrfs is that ever said; there
/// it must be readable, and what is not written to the medium yet does not count. `status` is that of `path`. Errors:
/// NotFound, Permission, NotSupported (it is no regular file any more), Busy, Io.
Result<bool> isUsedFor(const Path &path, const struct stat &status);

} // namespace VolumeCompression
