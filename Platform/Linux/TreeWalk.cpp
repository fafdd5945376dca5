#include "Platform/Linux/TreeWalk.h"

#include "Platform/Linux/FileCalls.h"

#include <algorithm>
#include <dirent.h>
#include <fcntl.h>

static constexpr std::size_t kOpenLevels = 64;
static constexpr std::size_t kBufferSize = std::size_t{32} << 10;

TreeWalk::TreeWalk(const Visit &visit, const Unreadable &unreadable, std::stop_token stop, MountPoints mountPoints)
    : m_visit(visit)
    , m_unreadable(unreadable)
    , m_stop(std::move(stop))
    , m_mountPoints(mountPoints)
{
}

/// Whether something is mounted at the open directory; a device number alone would miss a bind mount, and would take
/// for one what is only a part of the same volume.
static bool isMountPoint(int directory, std::uint64_t device, std::uint64_t parentDevice)
{
    struct statx status = {};
    if (::statx(directory, "", AT_EMPTY_PATH, STATX_TYPE, &status) == 0 &&
        (status.stx_attributes_mask & STATX_ATTR_MOUNT_ROOT))
        return status.stx_attributes & STATX_ATTR_MOUNT_ROOT;
    return device != parentDevice;
}

static Result<Descriptor> openDirectory(int parent, const char *name, const Path &path, struct stat &status)
{
    Descriptor directory(::openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
    if (!directory)
        return Failure::fromErrno(errno, "openat", path);
    if (::fstat(directory.get(), &status) != 0)
        return Failure::fromErrno(errno, "fstat", path);
    return directory;
}

Result<std::optional<TreeWalk::Level>> TreeWalk::open(int parent, const std::string &name, const Path &path) const
{
    struct stat status = {};
    Result<Descriptor> directory = openDirectory(parent, name.c_str(), path, status);
    if (!directory)
        return directory.failure();
    const FileIdentity identity{status.st_dev, status.st_ino};
    if (!m_levels.empty() && isMountPoint(directory->get(), status.st_dev, m_levels.back().identity.device) &&
        (m_mountPoints == MountPoints::NotEnter || isWithin(identity)))
        return std::optional<Level>();
    Level level;
    level.identity = identity;
    level.directory = std::move(*directory);
    return std::optional<Level>(std::move(level));
}

/// Whether the walk is in that directory already.
bool TreeWalk::isWithin(const FileIdentity &directory) const
{
    return std::any_of(m_levels.begin(), m_levels.end(),
                       [&](const Level &level) { return level.identity == directory; });
}

Result<void> TreeWalk::run(const Path &root)
{
    struct stat status = {};
    if (::lstat(root.c_str(), &status) != 0)
        return Failure::fromErrno(errno, "lstat", root);
    if (!S_ISDIR(status.st_mode))
        return Failure{ErrorCode::NotSupported, ENOTDIR, root.native() + " is not a directory"};
    Result<std::optional<Level>> first = open(AT_FDCWD, root.native(), root);
    if (!first)
        return first.failure();
    push(std::move(**first), root);
    while (!m_levels.empty() && !m_stop.stop_requested()) {
        Level &level = m_levels.back();
        if (level.position < level.filled) {
            step();
            continue;
        }
        level.buffer.resize(kBufferSize);
        const ssize_t got = ::getdents64(level.directory.get(), level.buffer.data(), kBufferSize);
        const int failure = errno;
        if (got < 0)
            m_unreadable(m_path, Failure::fromErrno(failure, "getdents64", m_path));
        if (got <= 0) {
            pop();
            continue;
        }
        level.position = 0;
        level.filled = std::size_t(got);
    }
    return {};
}

void TreeWalk::step()
{
    Level &level = m_levels.back();
    const auto *entry = reinterpret_cast<const dirent64 *>(level.buffer.data() + level.position);
    level.position += entry->d_reclen;
    level.resumeAt = entry->d_off;
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..")
        meet(entry->d_name);
}

/// To put another name at a path's end takes a third of the time of making one anew.
const Path &TreeWalk::pathOf(const char *name)
{
    if (m_met.empty())
        m_met = m_path.ends_with('/') ? m_path : m_path + '/';
    return m_met.replace_filename(name);
}

void TreeWalk::meet(const char *name)
{
    const Level &level = m_levels.back();
    const Path &path = pathOf(name);
    struct stat status = {};
    if (::fstatat(level.directory.get(), name, &status, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT) != 0) {
        const int failure = errno;
        if (failure != ENOENT) // gone since the directory was read
            m_unreadable(path, Failure::fromErrno(failure, "fstatat", path));
        return;
    }
    const FileStatus known = FileCalls::statusFrom(status);
    if (!m_visit({path, known}) || known.type != FileType::Directory)
        return;
    Result<std::optional<Level>> below = open(level.directory.get(), name, path);
    if (!below)
        m_unreadable(path, below.failure());
    else if (*below)
        push(std::move(**below), path);
}

void TreeWalk::push(Level level, const Path &path)
{
    m_path = path.native();
    m_met.clear();
    level.pathLength = m_path.size();
    m_levels.push_back(std::move(level));
    if (m_levels.size() - m_parked <= kOpenLevels)
        return;
    Level &outermost = m_levels[m_parked++];
    outermost.directory = Descriptor();
    outermost.buffer = std::vector<char>(); // an empty list would leave it its memory
    outermost.position = 0;
    outermost.filled = 0;
}

/// Goes back to the next outer level that can be gone on with.
void TreeWalk::pop()
{
    const Level child = std::move(m_levels.back());
    m_levels.pop_back();
    for (; !m_levels.empty(); m_levels.pop_back()) {
        Level &level = m_levels.back();
        m_path.resize(level.pathLength);
        m_met.clear();
        if (m_parked < m_levels.size())
            return;
        --m_parked;
        // A folder that was moved away meanwhile lies in another now; the one above it may still be where it was.
        if (reopen(child.directory.get(), "..", level) || reopen(AT_FDCWD, m_path.c_str(), level))
            return;
        m_unreadable(m_path, {ErrorCode::Busy, 0, m_path + " was moved away while it was walked"});
    }
    m_path.clear();
    m_met.clear();
}

Result<void> TreeWalk::reopen(int parent, const char *name, Level &level) const
{
    struct stat status = {};
    Result<Descriptor> directory = openDirectory(parent, name, m_path, status);
    if (!directory)
        return directory.failure();
    if (FileIdentity{status.st_dev, status.st_ino} != level.identity)
        return Failure{ErrorCode::Busy, 0, m_path + " is another folder by now"};
    if (::lseek(directory->get(), level.resumeAt, SEEK_SET) < 0)
        return Failure::fromErrno(errno, "lseek", m_path);
    level.directory = std::move(*directory);
    return {};
}
