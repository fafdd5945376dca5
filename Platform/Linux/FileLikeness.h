#pragma once

#include "Platform/Result.h"
#include "Platform/Types.h"

#include <sys/stat.h>

/// What the system keeps of a file besides its content and its attributes. Any thread.
namespace FileLikeness {

/// Gives the file open as `descriptor`, which lies at `path`, the owner, group, access lists, security labels, mode and
/// times of the one at `original`, whose status the caller knows, and the flags 0. Errors: Permission when it cannot
/// have all of this; it may have some of it then.
Result<void> give(int descriptor, const Path &path, const Path &original, const struct stat &status);

} // namespace FileLikeness
