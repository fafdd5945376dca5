#include "Platform/Linux/AliasTarget.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/sysmacros.h>

namespace {

struct FileSystemUuid
{
    std::uint8_t length;
    std::uint8_t uuid[16];
};

} // namespace

// Newer than the headers of the oldest system that we are built on.
static constexpr unsigned long kGetFileSystemUuid = _IOR(0x15, 0, FileSystemUuid);
static constexpr int kHandleForIdentityOnly = 0x200; // AT_HANDLE_FID
static constexpr unsigned kLongestHandle = 128;

/// Whether a file keeps its inode number while nobody uses it. FAT and FUSE make numbers up as they go.
static bool hasPersistentIds(const Mount *mount)
{
    if (!mount)
        return true;
    static constexpr std::array kMadeUp = {"msdos", "vfat", "exfat"};
    return std::find(kMadeUp.begin(), kMadeUp.end(), mount->type) == kMadeUp.end() && !mount->isFuse();
}

/// FNV-1a, for volumes that have no number of their own; never 0.
static std::uint64_t numberOf(const std::string &text)
{
    std::uint64_t number = 0xCBF29CE484222325;
    for (const char character : text)
        number = (number ^ std::uint8_t(character)) * 0x100000001B3;
    return number | 1;
}

static Bytes fileSystemUuid(const Descriptor &file)
{
    FileSystemUuid answer = {};
    if (!file || ::ioctl(file.get(), kGetFileSystemUuid, &answer) != 0 || answer.length != sizeof answer.uuid)
        return {};
    const Bytes uuid(std::begin(answer.uuid), std::end(answer.uuid));
    const bool isBlank = std::all_of(uuid.begin(), uuid.end(), [](std::uint8_t byte) { return byte == 0; });
    return isBlank ? Bytes() : uuid;
}

static void readHandle(const Descriptor &file, AliasIdentity &identity)
{
    alignas(file_handle) std::array<char, sizeof(file_handle) + kLongestHandle> room = {};
    auto *const handle = reinterpret_cast<file_handle *>(room.data());
    // A handle that can be opened again where there is one, else one that only tells files apart (since Linux 6.5).
    for (const int flag : {0, kHandleForIdentityOnly}) {
        handle->handle_bytes = kLongestHandle;
        int mountId = 0;
        if (::name_to_handle_at(file.get(), "", handle, &mountId, AT_EMPTY_PATH | flag) != 0)
            continue;
        const auto *const bytes = reinterpret_cast<const std::uint8_t *>(handle->f_handle);
        identity.handleType = std::uint32_t(handle->handle_type);
        identity.handle = Bytes(bytes, bytes + handle->handle_bytes);
        return;
    }
}

static Result<Path> pathOf(const Descriptor &file)
{
    const std::string link = "/proc/self/fd/" + std::to_string(file.get());
    std::array<char, 4096> target = {};
    const ssize_t length = ::readlink(link.c_str(), target.data(), target.size());
    if (length < 0)
        return Failure::fromErrno(errno, "readlink", link);
    const std::string path(target.data(), std::size_t(length));
    if (!path.starts_with('/'))
        return Failure{ErrorCode::NotFound, 0, "unreachable: " + path};
    return Path(path);
}

Result<AliasTarget> AliasTarget::examine(const Path &path, const MountTable &mounts)
{
    const Descriptor file(::open(path.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    if (!file)
        return Failure::fromErrno(errno, "open", path);
    return examine(file, mounts);
}

Result<AliasTarget> AliasTarget::examine(const Descriptor &file, const MountTable &mounts)
{
    struct statx status = {};
    static constexpr unsigned kWanted = STATX_BASIC_STATS | STATX_BTIME | STATX_MNT_ID;
    if (::statx(file.get(), "", AT_EMPTY_PATH | AT_NO_AUTOMOUNT, kWanted, &status) != 0)
        return Failure::fromErrno(errno, "statx");
    struct statfs volume = {};
    if (::fstatfs(file.get(), &volume) != 0)
        return Failure::fromErrno(errno, "fstatfs");
    if (status.stx_nlink == 0)
        return Failure{ErrorCode::NotFound, ENOENT, "removed meanwhile"};
    const Result<Path> path = pathOf(file);
    if (!path)
        return path.failure();

    AliasTarget target;
    target.path = *path;
    target.isFolder = S_ISDIR(status.stx_mode);
    target.modified = status.stx_mtime.tv_sec;
    target.mountId = status.stx_mnt_id;
    target.device = ::makedev(status.stx_dev_major, status.stx_dev_minor);
    target.identity.inode = status.stx_ino;
    if (status.stx_mask & STATX_BTIME)
        target.identity.birth = {status.stx_btime.tv_sec, status.stx_btime.tv_nsec};
    readHandle(file, target.identity);
    const Mount *const mount = mounts.withId(target.mountId);
    target.identity.hasPersistentIds = hasPersistentIds(mount);
    // On btrfs only the file-system id tells subvolumes, which have inode numbers of their own, apart.
    if (std::uint32_t(volume.f_type) != BTRFS_SUPER_MAGIC)
        target.identity.volumeUuid = fileSystemUuid(target.openOnVolume(mounts));
    std::memcpy(&target.identity.fileSystemId, &volume.f_fsid, sizeof target.identity.fileSystemId);
    if (target.identity.fileSystemId == 0 && mount)
        target.identity.fileSystemId = numberOf(mount->type + '\n' + mount->source);
    return target;
}

Descriptor AliasTarget::openOnVolume(const MountTable &mounts) const
{
    const Mount *const mount = mounts.withId(mountId);
    for (const Path &folder : {isFolder ? path : Path(), path.parent_path(), mount ? mount->point : Path()}) {
        if (folder.empty())
            continue;
        Descriptor file(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        struct stat status = {};
        if (file && ::fstat(file.get(), &status) == 0 && status.st_dev == device)
            return file;
    }
    return Descriptor();
}

std::optional<Path> AliasTarget::pathByHandle(const AliasIdentity &identity, const Path &mountPoint)
{
    if (identity.handle.empty() || identity.handle.size() > kLongestHandle)
        return std::nullopt;
    const Descriptor volume(::open(mountPoint.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!volume)
        return std::nullopt;
    alignas(file_handle) std::array<char, sizeof(file_handle) + kLongestHandle> room = {};
    auto *const handle = reinterpret_cast<file_handle *>(room.data());
    handle->handle_bytes = unsigned(identity.handle.size());
    handle->handle_type = int(identity.handleType);
    std::copy(identity.handle.begin(), identity.handle.end(), reinterpret_cast<std::uint8_t *>(handle->f_handle));
    const Descriptor file(::open_by_handle_at(volume.get(), handle, O_PATH | O_NOFOLLOW | O_CLOEXEC));
    if (!file)
        return std::nullopt;
    const Result<Path> path = pathOf(file);
    return path ? std::optional(*path) : std::nullopt;
}
