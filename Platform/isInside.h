#pragma once

#include "Platform/Types.h"

/// Whether `path` is `folder` or lies in it, by their names alone: both absolute, without "." and "..", and without a
/// slash at the end unless they are the root.
inline bool isInside(const Path &path, const Path &folder)
{
    const std::string &inner = path.native();
    const std::string &outer = folder.native();
    return inner.starts_with(outer) &&
           (inner.size() == outer.size() || outer.ends_with('/') || inner[outer.size()] == '/');
}
