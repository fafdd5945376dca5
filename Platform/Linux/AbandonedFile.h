#pragma once

#include "Platform/Result.h"
#include "Platform/Types.h"

#include <sys/stat.h>

/// Files that a process has left which was killed while it made them. A maker holds a lock (`flock`) on the file as
/// long as it lives. Any thread.
namespace AbandonedFile {

/// Whether it can only have been left by a process of this user that makes such files: a regular file, this user's,
/// with one name.
bool isLikely(const struct stat &status);

/// Removes the file `name` of the open folder, and answers whether there was one. `path` is what it is called in a
/// failure. Errors: Exists when something else is there, Busy when its maker is, Permission, Io; it is untouched then.
Result<bool> remove(int folder, const Path &name, const Path &path);

} // namespace AbandonedFile
