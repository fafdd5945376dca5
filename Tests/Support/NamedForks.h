#pragma once

#include "Platform/Types.h"

/// Forks behind "..namedfork/rsrc", which no file system of Linux has: as long as this lives, the calls of this program
/// that look at such a path and open it find what was given to the file, wherever that was renamed to. One thread.
class NamedForks final
{
public:
    /// `folder`, which is there, keeps the forks.
    explicit NamedForks(Path folder);
    ~NamedForks();
    NamedForks(const NamedForks &) = delete;
    NamedForks &operator=(const NamedForks &) = delete;

    /// Gives the file at `path` this fork instead of its old one.
    void give(const Path &path, ByteView fork);

private:
    const Path m_folder;
};
