#pragma once

#include "Platform/Types.h"

#include <string>
#include <system_error>

/// The string for a C path: its bytes as they stand, UTF-8 or not.
inline std::string stringWithFileSystemRepresentation(const char *path)
{
    return path;
}

/// The path with every link in it resolved, absolute and without "." and ".."; `path` itself when that cannot be had,
/// because something in it is missing or may not be looked at.
inline Path stringByCanonicalizingPath(const Path &path)
{
    // The system's calls would take the bytes up to a NUL for another, shorter path.
    if (path.native().find('\0') != std::string::npos)
        return path;
    std::error_code failure;
    Path resolved = std::filesystem::canonical(path, failure);
    return failure ? path : resolved;
}
