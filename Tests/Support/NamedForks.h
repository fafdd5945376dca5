#pragma once

#include "Platform/Types.h"

#include <functional>

#include <sys/types.h>

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

    /// Called from now on before one of the forks is read, with the place; nothing to end that.
    static void setOnRead(std::function<void(off_t)> onRead);

private:
    const Path m_folder;
};
