#pragma once

#include "Platform/FileSystem.h"
#include "Platform/Result.h"
#include "Platform/Types.h"

#include <optional>
#include <string>
#include <vector>

/// One of the user's two list files: a property-list array of strings. Remembers what it last read or wrote, so that a
/// file that somebody else has put there is not lost when it is replaced. Who writes what depends on what was read
/// holds `lockBeside` from the one to the other. One thread.
class ExclusionListFile final
{
public:
    explicit ExclusionListFile(Path path);

    const Path &path() const { return m_path; }

    /// Copies `defaults` to the place of the file when there is none. A file that is there is never touched. Errors:
    /// those of reading and writing.
    Result<void> makeFrom(const Path &defaults);

    /// The strings in their order; elements of other types are left out. Errors: NotFound, Corrupt when there is no
    /// array in the file, and those of reading.
    Result<std::vector<std::string>> read();

    /// Replaces the file with the strings, whole or not at all. One that is not what was last read or written, whenever
    /// it was put there, is kept beside, with the time of its last change in its name. Answers that name, or nothing
    /// when there was no need. On failure the file stands as it was. Errors: those of
    /// `FileSystem::replaceFileKeepingOld` and `createFile`; Corrupt for what is not UTF-8.
    Result<std::optional<Path>> write(const std::vector<std::string> &strings);

private:
    Result<std::optional<Path>> put(ByteView content) const;
    Path nameForKeeping(const FileStatus &status, int attempt) const;
    bool isKnown(const Path &file) const;

    Path m_path;
    std::optional<Bytes> m_known; ///< nothing: no file
};
