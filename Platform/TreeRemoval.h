#pragma once

#include "Platform/FileSystem.h"
#include "Platform/Result.h"
#include "Platform/Types.h"

#include <string>

/// Removes the directory `name` in `parent` with all its content. Nothing of it is reached through a link: `parent` and
/// every directory are opened without following one, and links are removed themselves. Refuses, before anything is
/// removed, when what bears that name is not `expected` or something is mounted inside. Errors: NotFound, Permission,
/// Busy (something else, or a mount), Io; after a failure part of it may be gone.
Result<void> removeTree(const Path &parent, const std::string &name, const FileIdentity &expected);
