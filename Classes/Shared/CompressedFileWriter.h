#pragma once

#include "Platform/FileSystem.h"

/// Writes a compressed copy of a file, for other programs of this kind to read; the file itself is never touched. A
/// value; any thread.
class CompressedFileWriter final
{
public:
    struct Copy
    {
        Path path;
        ByteCount logicalSize = 0;
        ByteCount occupiedSize = 0;
    };

    /// What is compressed at once, in memory.
    static constexpr ByteCount kLargestFile = ByteCount{512} << 20;

    /// `folder` is where the copies go, under the names of their files.
    explicit CompressedFileWriter(Path folder);

    /// The copy, read back and compared before it is answered. Refused, with the reason as context and nothing left
    /// behind: a link or what else is no regular file, a file with a resource fork, a compressed or empty one, a name
    /// of more than 253 bytes, a file over `kLargestFile`, a place that is taken, a file that changes meanwhile, a part
    /// that does not compress, and a copy that would occupy no less. Errors: NotSupported, TooLarge, Exists, Busy,
    /// Corrupt (the copy did not read back), and those of the platform.
    Result<Copy> write(const Path &file) const;

private:
    Path m_folder;
};
