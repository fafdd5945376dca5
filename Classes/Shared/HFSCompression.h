#pragma once

#include "Platform/Types.h"

/// Reads and changes the flag by which a file is known to be stored compressed. No instances; any thread.
class HFSCompression final
{
public:
    HFSCompression() = delete;

    /// false when the file is missing, too. A final link is not followed.
    static bool isFileUFCompressed(const Path &path);

    /// Whether the file's flag is as asked for afterwards. A failure to set it is logged, one to clear it is not.
    static bool setFileAsUFCompressed(const Path &path, bool isCompressed);

    /// Whether the file, or the target of a link, has the attribute `com.apple.decmpfs`.
    static bool hasCompressedAttributes(const Path &path);
};
