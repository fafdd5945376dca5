#pragma once

#include "Platform/Types.h"

#include <cstdint>
#include <optional>

/// A path for a scratch file that can later be renamed onto the file at `path`: always the same for one path, in the
/// temporary folder where that lies on the same volume or nothing is at `path` yet, else beside the file. Its name there
/// begins with the file's, where that leaves room.
Path getTemporaryFileNameBasedOnExistingPath(const Path &path);

/// Makes an empty file of a new name in the temporary folder. `descriptor`, where it is given, gets its open
/// descriptor, which the caller closes, or -1; else it is closed. nullopt when it cannot be made.
std::optional<Path> createTemporaryFile(std::int32_t *descriptor);
