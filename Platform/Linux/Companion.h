#pragma once

#include "Platform/FileSystem.h"
#include "Platform/Formats/AppleDouble.h"
#include "Platform/Linux/Descriptor.h"

#include <sys/stat.h>

/// The file `._NAME` beside a file, with what the file's own volume cannot keep. It counts only when it is a regular
/// file of the same owner, and not a link. One thread.
class Companion final
{
public:
    static Path pathOf(const Path &file);

    /// The companion of `file`, whose status the caller knows. Errors: NotFound when there is none that counts,
    /// Corrupt.
    static Result<Companion> open(const Path &file, const struct stat &fileStatus);

    /// Bytes on the medium; 0 where none counts, or it cannot be looked at.
    static ByteCount occupied(const Path &file, const struct stat &fileStatus);

    /// Writes the attributes into the companion, which is made where there is none. Errors: Busy when another process
    /// changed it meanwhile, Permission when something is in its place that does not count, Corrupt, TooLarge, Io.
    static Result<void> setAttributes(const Path &file, const struct stat &fileStatus,
                                      const std::vector<std::pair<std::string, Bytes>> &attributes);

    /// Takes the attribute out of it, and removes the companion when nothing is left in it. Errors: as above, NotFound.
    static Result<void> removeAttribute(const Path &file, const struct stat &fileStatus, const std::string &name);

    /// Takes `fork`, if it was read from it, and the attributes `names` (in whatever case) out of it, and removes the
    /// companion when nothing is left in it. Errors: as above, but no companion is no error.
    static Result<void> discard(const Path &file, const struct stat &fileStatus, const ReadableFork &fork,
                                const std::vector<std::string> &names);

    const AppleDoubleLayout &layout() const { return m_layout; }

    Result<Bytes> attribute(const std::string &name) const;

    /// nullptr when the companion has none, or an empty one.
    std::unique_ptr<ReadableFork> resourceFork() const;

private:
    Companion(Path path, std::shared_ptr<const Descriptor> file, const struct stat &status);

    Result<Bytes> read(const ByteRange &range) const;
    Result<void> checkRoomFor(ByteCount more) const;
    Result<AppleDoubleContent> content() const;
    Result<void> write(const AppleDoubleContent &content, const ReadableFork *fork,
                       const struct stat &fileStatus) const;
    Result<void> writeOrRemove(AppleDoubleContent content, const ReadableFork *fork,
                               const struct stat &fileStatus) const;
    Result<void> checkUnchangedSince(const struct stat &status) const;

    Path m_path;
    std::shared_ptr<const Descriptor> m_file; ///< nullptr of one that is to be made
    struct stat m_status = {};
    AppleDoubleLayout m_layout;
};
