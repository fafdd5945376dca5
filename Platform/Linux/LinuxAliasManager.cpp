#include "Platform/Linux/LinuxAliasManager.h"

#include "Platform/Linux/AliasRecordMaking.h"
#include "Platform/Linux/CurrentMounts.h"

#include <algorithm>
#include <climits>
#include <cstring>

#include <unistd.h>

static constexpr std::size_t kMostVolumes = 1000; // of which records may tell that were made up

static bool isMainThread()
{
    return ::gettid() == ::getpid();
}

/// `path`, if the very file of `identity` is there and nothing has to be mounted to see it.
static std::optional<Path> accepted(const Path &path, const AliasIdentity &identity, const MountTable &mounts)
{
    const std::optional<Path> plain = mounts.resolveWithoutMounting(path);
    if (!plain)
        return std::nullopt;
    const Result<AliasTarget> target = AliasTarget::examine(*plain, mounts);
    return target && target->identity.isSameAs(identity) ? std::optional(target->path) : std::nullopt;
}

/// Whether the system would take it for a path, and it leads nowhere but down. What else a record claims takes long to
/// follow, or leads out of its volume.
static bool isPlain(const Path &path)
{
    return path.native().size() < PATH_MAX &&
           std::none_of(path.begin(), path.end(), [](const Path &part) { return part == "." || part == ".."; });
}

/// The target seen from `relativeTo`: up as many levels as the record says, then down its last components.
static std::optional<Path> relativePath(const AliasRecord &record, const Path &stored, const Path &relativeTo)
{
    if (relativeTo.empty() || record.levelsFrom < 0 || record.levelsTo <= 0)
        return std::nullopt;
    const std::vector<Path> parts(stored.begin(), stored.end());
    if (parts.size() <= std::size_t(record.levelsTo))
        return std::nullopt;
    Path path = relativeTo;
    for (int level = 0; level < record.levelsFrom && path.has_relative_path(); ++level)
        path = path.parent_path();
    for (auto part = parts.end() - record.levelsTo; part != parts.end(); ++part)
        path /= *part;
    return path;
}

Result<Bytes> LinuxAliasManager::newAlias(const Path &target, const Path &relativeTo) const
{
    const auto current = currentMounts();
    if (!current)
        return current.failure();
    const MountTable &mounts = **current;
    const Result<AliasTarget> examined = AliasTarget::examine(target, mounts);
    if (!examined)
        return examined.failure();
    AliasRecord record = newRecord(*examined, mounts);
    if (!relativeTo.empty()) {
        const Result<AliasTarget> from = AliasTarget::examine(relativeTo, mounts);
        if (!from)
            return from.failure();
        setLevels(record, from->path, examined->path);
    }
    return record.encode();
}

Result<AliasManager::Resolution> LinuxAliasManager::resolve(ByteView bytes, const Path &relativeTo) const
{
    const Result<AliasRecord> record = AliasRecord::parse(bytes);
    if (!record)
        return record.failure();
    const Bytes *const tag = record->find(AliasTag::kIdentity);
    const std::optional<AliasIdentity> identity = tag ? AliasIdentity::parse(*tag) : std::nullopt;
    if (!identity)
        return Failure{ErrorCode::NotFound, 0, "the record was made on another system"};
    const auto current = currentMounts();
    if (!current)
        return current.failure();
    const MountTable &mounts = **current;

    Path from;
    if (!relativeTo.empty()) {
        const Result<AliasTarget> examined = AliasTarget::examine(relativeTo, mounts);
        if (!examined)
            return examined.failure();
        from = examined->path;
    }

    // The stored path first: the identity check makes it as good as the handle, and it is the cheapest by far.
    const Path stored = describe(*record).path;
    const Bytes *const posixPath = record->find(AliasTag::kPosixPath);
    if (!isPlain(stored) || (posixPath && !isPlain(stringOf(*posixPath))))
        return Failure{ErrorCode::NotFound, 0, "the record holds no path of this system"};
    std::optional<Path> path = accepted(stored, *identity, mounts);
    if (const std::optional<Path> relative = relativePath(*record, stored, from); !path && relative)
        path = accepted(*relative, *identity, mounts);
    if (!path)
        path = findMoved(*identity, *record, mounts);
    if (!path)
        return Failure{ErrorCode::NotFound, ENOENT, "not found: " + stored.native()};

    Resolution resolution{*path, Bytes(bytes.begin(), bytes.end())};
    if (*path != stored) {
        const Result<AliasTarget> target = AliasTarget::examine(*path, mounts);
        const Result<Bytes> updated = target ? broughtUpToDate(*record, *target, mounts).encode() : target.failure();
        if (updated)
            resolution.record = *updated;
    }
    return resolution;
}

Result<AliasInfo> LinuxAliasManager::copyInfo(ByteView bytes) const
{
    const Result<AliasRecord> record = AliasRecord::parse(bytes);
    if (!record)
        return record.failure();
    return describe(*record);
}

/// Whether the file may lie in a subvolume that is not mounted itself, below one that is. btrfs answers the same first
/// half of the file-system id for all of them; the number of the subvolume is in the other.
static bool holds(const Mount &mount, const AliasTarget &top, const AliasIdentity &identity)
{
    const auto firstHalf = [](const AliasIdentity &of) {
        std::uint32_t half = 0;
        std::memcpy(&half, &of.fileSystemId, sizeof half);
        return half;
    };
    return mount.type == "btrfs" && identity.volumeUuid.empty() && firstHalf(top.identity) == firstHalf(identity);
}

std::vector<Mount> LinuxAliasManager::mountsOfVolume(const AliasIdentity &identity, const MountTable &mounts) const
{
    const std::lock_guard lock(m_mutex);
    if (m_generation != mounts.generation() || m_volumes.size() >= kMostVolumes)
        m_volumes.clear();
    m_generation = mounts.generation();
    const auto [place, isNew] = m_volumes.try_emplace({identity.volumeUuid, identity.fileSystemId});
    std::vector<Mount> &found = place->second;
    if (!isNew)
        return found;
    for (const Mount &mount : mounts.mounts()) {
        if (mount.mayHang())
            continue;
        const Result<AliasTarget> top = AliasTarget::examine(mount.point, mounts);
        if (top && top->mountId == mount.id && (top->identity.isOnVolumeOf(identity) || holds(mount, *top, identity)))
            found.push_back(mount);
    }
    std::stable_partition(found.begin(), found.end(), [](const Mount &mount) { return mount.root == "/"; });
    return found;
}

std::optional<Path> LinuxAliasManager::findMoved(const AliasIdentity &identity, const AliasRecord &record,
                                                 const MountTable &mounts) const
{
    const Bytes *const tag = record.find(AliasTag::kPosixPath);
    const Path onVolume = tag ? Path(stringOf(*tag)).relative_path() : Path();
    const std::vector<Mount> candidates = mountsOfVolume(identity, mounts);
    for (const Mount &mount : candidates) {
        const std::optional<Path> path =
            m_handles == Handles::Try ? AliasTarget::pathByHandle(identity, mount.point) : std::nullopt;
        if (const auto found = path ? accepted(*path, identity, mounts) : std::nullopt)
            return found;
    }
    for (const Mount &mount : candidates) {
        if (const std::optional<Path> found = accepted(mount.point / onVolume, identity, mounts))
            return found;
    }
    for (const Mount &mount : candidates) {
        if (const std::optional<Path> found = search(identity, mount.point / onVolume, mount.point, mounts))
            return found;
        if (mount.root == "/")
            break; // has shown the whole volume
    }
    return std::nullopt;
}

std::optional<Path> LinuxAliasManager::search(const AliasIdentity &identity, const Path &lastSeen,
                                              const Path &mountPoint, const MountTable &mounts) const
{
    // Without lasting inode numbers there is nothing that a search could look for.
    if (!identity.hasPersistentIds)
        return std::nullopt;
    Bytes key = identity.encode();
    key.insert(key.end(), mountPoint.native().begin(), mountPoint.native().end());
    const auto remembered = [&] {
        const std::optional<Path> last = m_memory.lastFound(key);
        return last ? accepted(*last, identity, mounts) : std::nullopt;
    };
    if (isMainThread())
        return remembered();
    const SearchMemory::Turn turn(m_memory, key);
    if (std::optional<Path> found = remembered()) // maybe by the thread that this one has waited for
        return found;
    const std::string state = SearchMemory::stateOf(lastSeen, mountPoint, mounts);
    if (!m_memory.isWorthwhile(key, state))
        return std::nullopt;
    ++m_searches;
    AliasSearch search(identity, mounts, m_longestSearch);
    std::optional<Path> found = search.find(lastSeen, mountPoint);
    if (found)
        m_memory.note(key, state, SearchMemory::End::Found, *found);
    else
        m_memory.note(key, state, search.isExhausted() ? SearchMemory::End::Unfinished : SearchMemory::End::Vain);
    return found;
}
