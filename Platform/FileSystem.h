#pragma once

#include "Platform/FileLock.h"
#include "Platform/OutputFile.h"
#include "Platform/Result.h"
#include "Platform/Service.h"
#include "Platform/Types.h"

#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

/// One file, whatever it is called.
struct FileIdentity
{
    std::uint64_t device = 0;
    std::uint64_t inode = 0;

    friend auto operator<=>(const FileIdentity &, const FileIdentity &) = default;
};

enum class FileType { Regular, Directory, Link, Other };

/// What to do with a symbolic link at the end of a path.
enum class Links { Follow, NotFollow };

struct FileStatus
{
    FileIdentity identity;
    FileType type = FileType::Other;
    ByteCount size = 0;     ///< of the data fork
    ByteCount occupied = 0; ///< by the data fork, on the medium
    std::uint32_t mode = 0; ///< permission bits, 0 to 07777
    std::uint32_t owner = 0;
    std::uint32_t group = 0;
    std::uint64_t linkCount = 0;
    std::int64_t modified = 0;             ///< seconds since 1970
    std::int64_t changed = 0;              ///< seconds since 1970, the status-change time
    std::uint32_t modifiedNanoseconds = 0; ///< what `modified` leaves out, below 10^9
};

/// A fork, open for reading at any place.
class ReadableFork
{
public:
    virtual ~ReadableFork() = default;

    virtual ByteCount size() const = 0;

    /// Fills `buffer` from `offset`; fewer bytes than asked for only at the end of the fork.
    virtual Result<std::size_t> readAt(ByteCount offset, std::span<std::uint8_t> buffer) const = 0;

    /// Whether it lies beside its file, so that it is still there when the file has been replaced.
    virtual bool isBeside() const { return false; }
};

/// A file whose content lies in its resource fork, as it is to be made.
struct NewForkedFile
{
    ByteView fork; ///< at least one byte
    std::vector<std::pair<std::string, Bytes>> attributes;
    std::uint32_t flags = 0;
    FileStatus like; ///< mode and modification time are taken from it, and owner and group where that is allowed
};

/// A file that was just made, and open for reading and writing.
struct UniqueFile
{
    Path path;
    int descriptor = -1; ///< of the system; whoever asked for the file closes it
};

/// What a walk does where another volume is mounted.
enum class MountPoints { NotEnter, Enter };

/// One entry that a walk met. Valid during the call only.
struct WalkEntry
{
    const Path &path;
    const FileStatus &status;
};

/// Files, their forks, attributes and flags, in the form of the platform's own volumes: `UF_COMPRESSED` files with a
/// resource fork. How a foreign volume keeps them is told in Docs/Formats/CompressedFiles.md. Any thread.
class FileSystem : public Service<FileSystem>
{
public:
    /// Errors: NotFound, Permission, Io.
    virtual Result<FileStatus> status(const Path &path, Links links = Links::NotFollow) const = 0;

    /// The length a program that reads the file through the platform would see. Of a compressed file that is the size
    /// in its `com.apple.decmpfs`, at most 65536 bytes for each block of its fork; of any other, and of one that its
    /// volume compresses by itself, the data fork's.
    virtual Result<ByteCount> logicalSize(const Path &path) const = 0;

    /// Whether this user may write the file or change the directory. A final link is followed. Errors: NotFound, Io.
    virtual Result<bool> isWritable(const Path &path) const = 0;

    /// What the file takes on the medium: data fork, companion and attributes.
    virtual Result<ByteCount> occupiedSize(const Path &path) const = 0;

    /// BSD `st_flags`; a final link is not followed. 32 is `UF_COMPRESSED`. Those of a file with content are not looked
    /// at: it has `UF_COMPRESSED` where its volume compresses it by itself, whatever was set, and no other. Errors:
    /// Corrupt when what was written there is no number or the companion cannot be read, Permission when the file must
    /// be read for it and may not be.
    virtual Result<std::uint32_t> flags(const Path &path) const = 0;

    /// Errors: NotSupported, and nothing is written, when it would take `UF_COMPRESSED` from a file whose volume
    /// compresses it; NotFound, Permission, NoSpace, Io.
    virtual Result<void> setFlags(const Path &path, std::uint32_t flags) = 0;

    /// Names in the order of the file system. Empty when there are none. Errors: Corrupt when its companion cannot be
    /// read, and so some may be missing.
    virtual Result<std::vector<std::string>> attributeNames(const Path &path, Links links) const = 0;

    /// Errors: NotFound when the file or the attribute is missing.
    virtual Result<Bytes> attribute(const Path &path, const std::string &name, Links links) const = 0;

    /// Creates or replaces the attribute. `value`: 0 to 64 KiB of raw bytes. On failure the old value is unchanged.
    /// Errors: NotFound, NotSupported (the volume has no attributes), NoSpace, TooLarge, Permission, Io.
    virtual Result<void> setAttribute(const Path &path, const std::string &name, ByteView value, Links links) = 0;

    /// Errors: NotFound when there is no such attribute.
    virtual Result<void> removeAttribute(const Path &path, const std::string &name, Links links) = 0;

    /// The resource fork. Errors: NotFound when the file has none, Corrupt when its companion cannot be read.
    virtual Result<std::unique_ptr<ReadableFork>> openResourceFork(const Path &path) const = 0;

    /// Whether other names of the file would miss the fork if this name's file were replaced: it has several names, and
    /// the fork, if one is found at all, is kept beside this name and not with the file.
    virtual Result<bool> isForkShared(const Path &path) const = 0;

    /// Removes what the file's fork was read from, and the attributes `names` (in whatever case), from the place beside
    /// `path` where a replaced file has left them. What else is kept there stays. Errors: Busy when it is not what
    /// `fork` was read from any more; it is untouched then.
    virtual Result<void> discardFork(const Path &path, const ReadableFork &fork,
                                     const std::vector<std::string> &names) = 0;

    /// Opens a regular file for reading and locks it against every other process that asks the same; never waits. A
    /// final link is not followed. Errors: Busy while another holds it; NotFound, NotSupported, Permission, Io.
    virtual Result<std::unique_ptr<FileLock>> lockFile(const Path &path) const = 0;

    /// Makes a scratch file: it will take the place of another or vanish. One that a process which is gone has left
    /// under this name is removed first, if it is a regular file of this user with one name; anything else there is
    /// left alone. `mode`: permission bits of the file as long as it is written. Errors: Busy while another process
    /// holds it, Exists, Permission, NoSpace, TooLarge (the name), Io.
    virtual Result<std::unique_ptr<OutputFile>> openScratchFile(const Path &path, std::uint32_t mode) = 0;

    /// Makes a file that is not there yet, to be written in place. `mode` holds as far as the process's mask allows.
    /// Errors: Exists, and those of `openScratchFile`.
    virtual Result<std::unique_ptr<OutputFile>> openNewFile(const Path &path, std::uint32_t mode) = 0;

    /// Makes an empty file (0600) whose name is that of `prefix` and six characters more.
    virtual Result<UniqueFile> makeUniqueFile(const Path &prefix) = 0;

    /// Whether a file of that name can only be one in the making, which is renamed before anybody is to read it.
    virtual bool isNameInTheMaking(std::string_view name) const = 0;

    /// Removes what a process that is gone has left at `path`, a scratch file or one with a name as above, and its
    /// companion. Anything but a regular file of this user with one name that nobody holds is left alone.
    virtual void removeAbandoned(const Path &path) = 0;

    /// Removes what processes that are gone have left of making the file at `path` or what keeps its fork. The file
    /// itself stays.
    virtual void removeAbandonedPartsOf(const Path &path) = 0;

    /// The whole data fork of a regular file. Errors: NotFound, Permission, TooLarge (over `limit`), NotSupported (a
    /// directory, a pipe, a device), Io.
    virtual Result<Bytes> readFile(const Path &path, ByteCount limit) const = 0;

    /// Replaces the file at `path` or makes it: written beside it, synced, renamed, the folder synced. `mode` is for a
    /// new file, as far as the process's mask allows; a replaced one keeps its mode and, where possible, its owner. A
    /// symbolic link or anything else but a regular file at `path` is refused as NotSupported. On failure the old file
    /// stands and nothing is left beside it; only when syncing the folder fails, the new file stands already.
    virtual Result<void> replaceFile(const Path &path, ByteView content, std::uint32_t mode = 0644) = 0;

    /// Replaces the file at `path` as above. What stood there until that very moment, whoever had put it there, is at
    /// `kept` afterwards, in the same folder. On failure there may be a copy of it at `kept`. Errors: Exists (something
    /// is at `kept`), NotFound (nothing is at `path`), TooLarge, and those of `replaceFile`.
    virtual Result<void> replaceFileKeepingOld(const Path &path, ByteView content, const Path &kept) = 0;

    /// Makes a file that is not there yet, whole and synced. Errors: Exists, and those of `replaceFile`.
    virtual Result<void> createFile(const Path &path, ByteView content, std::uint32_t mode = 0644) = 0;

    /// Makes a file with an empty data fork that is not there yet. What keeps the fork is made first, and never over
    /// anything; the file appears whole, and all of it is synced. On failure nothing is left. Errors: Exists (the file
    /// or what would keep its fork), TooLarge (a name of more than 253 bytes), and those of `replaceFile`.
    virtual Result<void> createForkedFile(const Path &path, const NewForkedFile &file) = 0;

    /// Removes a file and what keeps its fork. Errors: NotFound.
    virtual Result<void> removeForkedFile(const Path &path) = 0;

    /// Errors: Exists, NotFound when the parent is missing.
    virtual Result<void> makeDirectory(const Path &path, std::uint32_t mode) = 0;

    /// Renames within one volume, never over something. A file's companion stays where it is. Errors: Exists, NotFound.
    virtual Result<void> moveWithoutReplacing(const Path &from, const Path &to) = 0;

    /// Removes a file or a link, not its companion. Errors: NotFound.
    virtual Result<void> removeFile(const Path &path) = 0;

    /// Names in a directory, without "." and "..", sorted by bytes. Errors: NotFound, Permission, NotSupported (no
    /// directory).
    virtual Result<std::vector<std::string>> entries(const Path &directory) const = 0;

    /// Visits everything below the directory `root` (which may not be a link itself), each directory before its
    /// content; `root` itself is not visited. Links are met, not followed; another volume's mount point is met, and
    /// entered where that is wanted, but never one that shows a directory which the walk is in. `visit` answers whether
    /// to go into a directory (its answer for others is ignored). What cannot be read is passed to `unreadable` and
    /// skipped. Ends early when a stop is requested.
    virtual Result<void> walk(const Path &root, const std::function<bool(const WalkEntry &)> &visit,
                              const std::function<void(const Path &, const Failure &)> &unreadable,
                              std::stop_token stop, MountPoints mountPoints = MountPoints::NotEnter) const = 0;
};
