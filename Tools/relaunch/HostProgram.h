#pragma once

#include "Platform/Types.h"

#include <optional>

/// The program of an application bundle: Contents/MacOS and the bundle's own name without its extension, or else the
/// name that its information property list gives. Nothing where neither is there.
std::optional<Path> hostProgramIn(const Path &bundle);
