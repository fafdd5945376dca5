#pragma once

#include "Platform/FileLeases.h"
#include "Platform/FileSystem.h"

/// Sees to it that a file which is about to be replaced is written by no other process. Made just before the rename and
/// held until it is done; who wants to write meanwhile waits that long. Only from the one thread that expands files.
class WriterWatch final
{
public:
    /// Asks who writes the file at `path`, which is the one of the identity `file`. Where the system gives its word the
    /// processes are not looked at.
    WriterWatch(const Path &path, const FileIdentity &file);

    /// Whether the file may be replaced: nobody wrote it when this was made, and nobody has asked to since.
    bool mayReplace() const;

private:
    bool m_isWritten = false;
    std::unique_ptr<FileLease> m_lease; ///< nullptr where the processes were looked at
};
