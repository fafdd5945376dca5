#pragma once

#include "Platform/FileLock.h"

#include <cstddef>
#include <memory>

/// The locks that expansions leave in force when a file's fork cannot be opened. Each thread has its own.
namespace LeftLocks {

/// Keeps the lock until `release` or the thread's end; nothing is kept of nullptr. Of more than 256 the oldest is let
/// go, so that whoever never releases does not run out of descriptors.
void keep(std::unique_ptr<FileLock> lock);

/// Lets all locks of this thread go.
void release();

/// How many are kept.
std::size_t count();

} // namespace LeftLocks
