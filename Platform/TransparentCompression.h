#pragma once

#include "Platform/FileSystem.h"
#include "Platform/Result.h"
#include "Platform/Service.h"
#include "Platform/Types.h"

#include <memory>
#include <span>
#include <vector>

/// A stretch of a file's content as it lies on the medium.
struct StoredExtent
{
    ByteCount offset = 0; ///< in the file
    ByteCount length = 0; ///< of content, in whole blocks
    bool isCompressed = false;
    bool isShared = false;   ///< another file or a snapshot has the same bytes on the medium
    bool isWritten = true;   ///< no room that is only set aside
    bool isEmbedded = false; ///< kept with what describes the file, so that it takes no block

    ByteCount end() const { return offset + length; }
};

struct VolumeRoom
{
    ByteCount available = 0; ///< to this user
    ByteCount total = 0;
};

/// A regular file that its volume can compress, open. Nothing here changes its content, times, owner, mode or
/// attributes, reading its time of access neither. One thread.
class CompressibleFile
{
public:
    /// What was said of the file by itself about its being compressed.
    enum class Wish { None, Compress, LeaveAlone };

    virtual ~CompressibleFile() = default;

    /// Of this file, whatever its path leads to by now.
    virtual Result<FileStatus> status() const = 0;

    /// The smallest room that content takes, in bytes.
    virtual ByteCount blockSize() const = 0;

    /// `LeaveAlone` also where the volume has found that it does not get smaller.
    virtual Result<Wish> wish() const = 0;

    /// Whether changes are written over the old content, which the volume never compresses.
    virtual Result<bool> isWrittenInPlace() const = 0;

    virtual Result<VolumeRoom> room() const = 0;

    /// The extents from the one on that `offset` is in or before, in their order, without the holes; as many as are
    /// read in one go, none at the end. What was still in memory is on the medium then.
    virtual Result<std::vector<StoredExtent>> extentsFrom(ByteCount offset) const = 0;

    /// Fills `buffer` from `offset`; fewer bytes than asked for only at the end.
    virtual Result<std::size_t> readAt(ByteCount offset, std::span<std::uint8_t> buffer) const = 0;

    /// The volume compresses content in stretches of this length, each by itself.
    virtual ByteCount stretchSize() const = 0;

    /// What a stretch of that content occupies in whole blocks when it was compressed; all of its own where that saves
    /// none.
    virtual ByteCount occupiedCompressed(ByteView stretch) const = 0;

    /// Has the volume write that part anew, compressed where that makes it smaller, which every stretch of it should
    /// be. It is whole at any time, whatever happens meanwhile, and on the medium later. Both in whole blocks, but for
    /// the file's end. Errors: Permission when this user may not write the file, NoSpace, Busy, Io.
    virtual Result<void> compress(ByteCount offset, ByteCount length) = 0;

    /// Has the volume write that part anew as it is. Room on the medium that two parts of a file were written to at
    /// once is given back only when neither lies there any more. Nothing happens when the content changes meanwhile. At
    /// most a mebibyte at once; errors as above.
    virtual Result<void> writeAnew(ByteCount offset, ByteCount length) = 0;
};

/// Compression by the file system itself, which every program reads as before. One implementation for each kind of
/// file system that has it, and one for all others. Any thread.
class TransparentCompression : public Service<TransparentCompression>
{
public:
    enum class Ability { Compresses, OtherFormat, ReadOnly };

    /// What is made of a folder by `turnOn`.
    enum class FolderState { TurnedOn, WasOn, LeftAlone };

    /// Whether files in the folder can be compressed, as it is mounted. Errors: NotFound, Permission, Io.
    virtual Result<Ability> ability(const Path &folder) const = 0;

    /// From now on what is made in the folder is compressed. Answers `WasOn` when it has been like that without us, and
    /// `LeftAlone` when somebody wants the folder otherwise; nothing is changed then. Errors: NotSupported, Permission
    /// (it is not this user's), NotFound, NoSpace, Io.
    virtual Result<FolderState> turnOn(const Path &folder) = 0;

    /// Whether `turnOff` would find anything to take back. Errors: Permission, NotFound, Io.
    virtual Result<bool> isTurnedOn(const Path &folder) const = 0;

    /// Takes back what `turnOn` did, and answers whether it had done anything to this folder. What somebody else has
    /// changed since stays. Errors: Permission, NotFound, Io.
    virtual Result<bool> turnOff(const Path &folder) = 0;

    /// Errors: NotSupported when it is no regular file or its volume cannot compress, NotFound, Permission, Io. A final
    /// link is not followed.
    virtual Result<std::unique_ptr<CompressibleFile>> open(const Path &file) const = 0;
};
