#pragma once

#include "Platform/Result.h"
#include "Platform/Types.h"

#include <cstdint>
#include <functional>

struct FileStatus;

/// A file that this process made and writes, locked against every other process that would write one under the same
/// name. The lock lasts until this is destroyed; a scratch file that has taken no place by then is removed, any other
/// stays as far as it was written. Only a name that still belongs to the file is ever renamed or removed. One thread.
class OutputFile
{
public:
    virtual ~OutputFile() = default;

    /// Appends all of `content`. Errors: NoSpace, TooLarge, Io; part of it may be written then.
    virtual Result<void> write(ByteView content) = 0;

    /// Nothing more will be written. A file that is no scratch file is on the medium then.
    virtual Result<void> close() = 0;

    /// Gives a closed scratch file everything but its content that the file at `original` has for the system: mode,
    /// owner, times, access lists and security labels, and the flags 0; and brings it to the medium. Errors: Busy when
    /// `original` is not the one with the status `examined` any more; Permission when it cannot have all of this.
    virtual Result<void> makeLike(const Path &original, const FileStatus &examined) = 0;

    /// Renames a scratch file over the one at `destination`, which must still be that of the status `examined` with
    /// neither size, modification time nor count of names changed. `mayReplace` is asked just before that, with all
    /// else done. Answers whether the rename is sure to outlast a power failure: what the old file needs must be kept
    /// where it is not. Errors: Busy when either file is not what it was or `mayReplace` says no, Permission, Io; the
    /// destination is untouched then, but for attributes that it could not keep with it.
    virtual Result<bool> replace(const Path &destination, const FileStatus &examined,
                                 const std::function<bool()> &mayReplace = [] { return true; }) = 0;

    /// BSD `st_flags` of the file, wherever it lies by now.
    virtual Result<void> setFlags(std::uint32_t flags) = 0;
};
