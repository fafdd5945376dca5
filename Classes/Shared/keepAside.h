#pragma once

#include "Platform/Result.h"
#include "Platform/Types.h"

/// Whether a file that could not be read for this reason will never be readable as it is. Any other failure may be gone
/// at the next try, and says nothing against the file.
bool isUnreadableForGood(const Failure &failure);

/// Renames a file that nobody can read to a free name with the date beside it, so that a new one can take its place.
/// Answers that name. Errors: NotFound when there is no file any more; Exists, Permission, Io, the file stays then.
Result<Path> keepAside(const Path &file);
