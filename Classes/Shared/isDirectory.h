#pragma once

#include "Platform/FileSystem.h"

/// Whether the path exists and is a directory, or a link to one.
inline bool isDirectory(const Path &path)
{
    const Result<FileStatus> status = FileSystem::current().status(path, Links::Follow);
    return status && status->type == FileType::Directory;
}
