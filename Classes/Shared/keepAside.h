#pragma once

#include "Platform/Result.h"
#include "Platform/Types.h"

/// Renames a file that nobody can read to a free name with the date beside it, so that a new one can take its place.
/// Answers that name. Errors: NotFound when there is no file any more; Exists, Permission, Io, the file stays then.
Result<Path> keepAside(const Path &file);
