#pragma once

#include "Platform/FileSystem.h"

/// Makes a file known as compressed again that a failed or killed expansion has left without its flag: to programs it
/// is an empty file then, though nothing of it is lost. No instances; any thread.
class CompressedFileRepair final
{
public:
    CompressedFileRepair() = delete;

    /// Whether the file might be one: empty, with a header that says where the content is.
    static bool isCandidate(const Path &path, const FileStatus &status);

    /// Sets the flag after every block of the file has been inflated and the sizes compared. Answers whether it was
    /// not set before. Errors: Busy while an expansion is at the file; Corrupt, with what is wrong as context, when not
    /// all of the content can be had; NotSupported when it is no regular file; and those of looking at it.
    static Result<bool> repair(const Path &path);
};
