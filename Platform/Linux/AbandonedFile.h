#pragma once

#include "Platform/Result.h"
#include "Platform/Types.h"

#include <sys/stat.h>

/// Files that a process has left which was killed while it made them. A maker holds a lock (`flock`) on the file as
/// long as it lives. Any thread.
namespace AbandonedFile {

/// Whether it can only have been left by a process of this user that makes such files: a regular file, this user's,
/// with one name. Root makes them for others, too, and their owner is no hindrance to it.
bool isLikely(const struct stat &status);

/// Removes the file `name` of the open folder, and answers whether there was one. `path` is what it is called in a
/// failure. Errors: Exists when something else is there, Busy when its maker is, Permission, Io; it is untouched then.
Result<bool> remove(int folder, const Path &name, const Path &path);

/// Locks a file that was just made, until its last descriptor is closed. Whoever has taken it for abandoned meanwhile
/// holds it for a moment only, and the name is gone after that. Errors: Busy, and then the name is that one's to
/// remove; those of `flock`.
Result<void> lockNew(int descriptor, const Path &path);

} // namespace AbandonedFile
