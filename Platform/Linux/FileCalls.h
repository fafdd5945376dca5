#pragma once

#include "Platform/FileSystem.h"
#include "Platform/Linux/Descriptor.h"

#include <sys/stat.h>

/// System calls on files, in the form that the parts of the file system share. Any thread.
namespace FileCalls {

FileStatus statusFrom(const struct stat &status);

/// Whether both are of one file, whatever it is called.
bool isSameFile(const struct stat &one, const struct stat &other);

/// Opens a regular file for reading, and never waits for a pipe or wakes a device. Errors: those of the system, and
/// NotSupported for anything but a regular file. `status` is that of the opened file.
Result<Descriptor> openForReading(const Path &path, Links links, struct stat &status);

/// Everything from the file's start to its end. Errors: TooLarge (over `limit`), Io.
Result<Bytes> readAll(int descriptor, ByteCount limit, const Path &path);

/// Fills `buffer` from `offset`; answers fewer bytes only at the end of the file.
Result<std::size_t> readAt(int descriptor, ByteCount offset, std::span<std::uint8_t> buffer);

/// Writes all of `content` at the file's place. `path` is what it is called in a failure.
Result<void> writeAll(int descriptor, ByteView content, const Path &path);

/// Renames within one volume, never over something. Relative paths begin at `folder`. Errors: Exists, NotFound.
Result<void> moveWithoutReplacing(int folder, const Path &from, const Path &to);

/// What stands in for that on a volume whose driver cannot do it in one step.
Result<void> moveByLinking(int folder, const Path &from, const Path &to);

} // namespace FileCalls
