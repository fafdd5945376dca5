#pragma once

#include "Classes/Shared/Error.h"
#include "Classes/Shared/ExpansionOutcome.h"
#include "Platform/FileSystem.h"

#include <cstdint>
#include <optional>
#include <stop_token>

/// What a caller of the expander may want besides.
struct ExpansionOptions
{
    std::stop_token stop;                                ///< asked between two blocks; a stopped run answers false
    ExpansionOutcome *outcome = nullptr;                 ///< filled at the end of the run
    std::optional<FileIdentity> expected = std::nullopt; ///< refuse any other file that stands at the path by now
};

/// Turns one compressed file back into an ordinary one. Made for one file, used once and dropped; on any thread, but
/// never two at a time. Errors have the domain "com.dovrane.tamsel.hfs" and the code 700 (a block cannot be read), 705
/// (the file is not compressed) or 706 (a block cannot be inflated); every other failure answers false and no error.
/// After a failure the compressed data stands; the flag is set again only by a run that got past the last block, or
/// was cancelled.
class DVHFSUncompressor final
{
public:
    /// Expands the file at `path` in its place. Nothing is ever written through the two sizes.
    static bool expandInPlacePath(const Path &path, Error *error = nullptr, std::uint64_t *compressedSize = nullptr,
                                  std::uint64_t *uncompressedSize = nullptr, bool ignoreCompressionFlag = false,
                                  const ExpansionOptions &options = {});

    explicit DVHFSUncompressor(Path path);

    bool ignoreCompressionFlag() const { return m_ignoreCompressionFlag; }
    void setIgnoreCompressionFlag(bool doIgnore) { m_ignoreCompressionFlag = doIgnore; }
    void setOptions(const ExpansionOptions &options) { m_options = options; }

    bool expand();
    bool expandReturningError(Error *error);

    /// Expands into a new file (0755, left as far as it got after a failure), or in the place of the one that is there,
    /// whose mode, owner, times and flags it gets. `attributes` and the sizes are neither read nor written.
    bool expandTo(const Path &destination, Error *error = nullptr);
    bool expandTo(const Path &destination, const std::optional<FileStatus> &attributes, Error *error,
                  std::uint64_t *compressedSize = nullptr, std::uint64_t *uncompressedSize = nullptr);

    /// Forgets the path; to be done before the last use only by who wants it gone early.
    void cleanup();

private:
    std::optional<Path> m_sourcePath;
    bool m_ignoreCompressionFlag = false;
    ExpansionOptions m_options;
};
