#include "Platform/Linux/AliasSearch.h"

#include "Platform/Linux/AliasTarget.h"
#include "Platform/Linux/Descriptor.h"

#include <array>
#include <cstring>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

static constexpr std::size_t kEntriesBuffer = 65536;
static constexpr std::uint64_t kTopOfSubvolume = 256; // on btrfs; its entry bears the number of the subvolume

AliasSearch::AliasSearch(const AliasIdentity &identity, const MountTable &mounts, Limits limits)
    : m_identity(identity)
    , m_mounts(mounts)
    , m_limits(limits)
    , m_end(std::chrono::steady_clock::now() + limits.time)
{
}

bool AliasSearch::isExhausted() const
{
    return m_entries >= m_limits.entries || std::chrono::steady_clock::now() >= m_end;
}

std::optional<Path> AliasSearch::find(const Path &lastSeen, const Path &mountPoint)
{
    Path searched;
    for (Path folder = lastSeen.parent_path();; folder = folder.parent_path()) {
        struct stat status = {};
        if (isOnMount(folder, mountPoint) && ::lstat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) {
            if (std::optional<Path> found = searchBelow(folder, searched))
                return found;
            searched = folder;
        }
        if (isExhausted() || folder == mountPoint || !folder.has_relative_path())
            return std::nullopt;
    }
}

/// Whether the folder lies there as it is spelt: a link above it may lead to another volume by now, and that would be
/// searched under a spelling that knows none of its mounts.
bool AliasSearch::isOnMount(const Path &folder, const Path &mountPoint) const
{
    return m_mounts.holding(folder) == m_mounts.holding(mountPoint) &&
           m_mounts.resolveWithoutMounting(folder) == folder;
}

/// Breadth first: people move folders to shallow places more often than into deep ones.
std::optional<Path> AliasSearch::searchBelow(const Path &root, const Path &alreadySearched)
{
    std::deque<Path> folders = {root};
    while (!folders.empty() && !isExhausted()) {
        const Path folder = std::move(folders.front());
        folders.pop_front();
        if (std::optional<Path> found = searchFolder(folder, alreadySearched, folders))
            return found;
    }
    return std::nullopt;
}

std::optional<Path> AliasSearch::searchFolder(const Path &folder, const Path &alreadySearched,
                                              std::deque<Path> &folders)
{
    const Descriptor file(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    alignas(dirent64) std::array<char, kEntriesBuffer> buffer;
    while (file && !isExhausted()) {
        const ssize_t filled = ::getdents64(file.get(), buffer.data(), buffer.size());
        if (filled <= 0)
            break;
        for (ssize_t offset = 0; offset < filled;) {
            const auto *const entry = reinterpret_cast<const dirent64 *>(buffer.data() + offset);
            offset += entry->d_reclen;
            if (std::strcmp(entry->d_name, ".") == 0 || std::strcmp(entry->d_name, "..") == 0)
                continue;
            ++m_entries;
            const bool isFolder = entry->d_type == DT_DIR;
            if (entry->d_ino == m_identity.inode || (isFolder && m_identity.inode == kTopOfSubvolume)) {
                if (std::optional<Path> found = accept(folder / entry->d_name))
                    return found;
            }
            if (entry->d_type != DT_DIR && entry->d_type != DT_UNKNOWN)
                continue;
            // Not even opened: a mount point may be a trigger that mounts, or hang.
            Path below = folder / entry->d_name;
            if (below != alreadySearched && !m_mounts.isMountPoint(below))
                folders.push_back(std::move(below));
        }
    }
    return std::nullopt;
}

std::optional<Path> AliasSearch::accept(const Path &candidate) const
{
    if (m_mounts.isMountPoint(candidate))
        return std::nullopt;
    const Result<AliasTarget> target = AliasTarget::examine(candidate, m_mounts);
    return target && target->identity.isSameAs(m_identity) ? std::optional(target->path) : std::nullopt;
}
