#include "Platform/Fake/FakeFileSystem.h"

#include "Platform/Fake/FakeFileSystemNode.h"
#include "Platform/isInside.h"

#include <algorithm>

static Failure missing(const Path &path)
{
    return Failure::fromErrno(ENOENT, "fake", path);
}

static Path folderOf(const Path &path)
{
    return path.parent_path();
}

FakeFileSystem::FakeFileSystem()
{
    add("/", FileType::Directory);
}

FakeFileSystem::~FakeFileSystem() = default;

FakeFileSystem::NodePointer FakeFileSystem::add(const Path &path, FileType type)
{
    if (const auto known = m_nodes.find(path); known != m_nodes.end() && type == FileType::Directory)
        return known->second;
    auto node = std::make_shared<Node>();
    node->status.type = type;
    node->status.mode = type == FileType::Directory ? 0755 : 0644;
    node->status.linkCount = 1;
    node->status.identity = {m_lastDevice, ++m_lastInode};
    if (path != folderOf(path))
        node->status.identity.device = add(folderOf(path), FileType::Directory)->status.identity.device;
    m_nodes[path] = node;
    return node;
}

FakeFileSystem::NodePointer FakeFileSystem::find(const Path &path, Links links) const
{
    constexpr int kMostLinks = 40;
    Path place = path.lexically_normal();
    for (int followed = 0; followed < kMostLinks; ++followed) {
        const auto found = m_nodes.find(place);
        if (found == m_nodes.end())
            return nullptr;
        if (links == Links::NotFollow || found->second->status.type != FileType::Link)
            return found->second;
        place = (folderOf(place) / found->second->target).lexically_normal();
    }
    return nullptr;
}

Result<FakeFileSystem::NodePointer> FakeFileSystem::reach(const Path &path, Links links) const
{
    if (const auto failure = m_schedule.next())
        return *failure;
    const NodePointer node = find(path, links);
    if (!node)
        return missing(path);
    return node;
}

Result<void> FakeFileSystem::checkPlace(const Path &path) const
{
    const NodePointer folder = find(folderOf(path), Links::Follow);
    if (!folder || folder->status.type != FileType::Directory)
        return missing(path);
    if (m_nodes.contains(path))
        return Failure::fromErrno(EEXIST, "fake", path);
    return {};
}

void FakeFileSystem::addFile(const Path &path, ByteView content)
{
    const std::lock_guard lock(m_mutex);
    const NodePointer node = add(path, FileType::Regular);
    node->content.assign(content.begin(), content.end());
}

void FakeFileSystem::addFolder(const Path &path)
{
    const std::lock_guard lock(m_mutex);
    add(path, FileType::Directory);
}

void FakeFileSystem::addLink(const Path &path, const Path &target)
{
    const std::lock_guard lock(m_mutex);
    add(path, FileType::Link)->target = target;
}

void FakeFileSystem::addPipe(const Path &path)
{
    const std::lock_guard lock(m_mutex);
    add(path, FileType::Other);
}

void FakeFileSystem::addName(const Path &path, const Path &existing)
{
    const std::lock_guard lock(m_mutex);
    const NodePointer node = m_nodes.at(existing);
    add(folderOf(path), FileType::Directory);
    m_nodes[path] = node;
    ++node->status.linkCount;
}

void FakeFileSystem::addVolume(const Path &path)
{
    const std::lock_guard lock(m_mutex);
    add(path, FileType::Directory)->status.identity.device = ++m_lastDevice;
}

void FakeFileSystem::setResourceFork(const Path &path, ByteView content)
{
    const std::lock_guard lock(m_mutex);
    m_nodes.at(path)->fork = Bytes(content.begin(), content.end());
}

void FakeFileSystem::setOwner(const Path &path, std::uint32_t owner)
{
    const std::lock_guard lock(m_mutex);
    m_nodes.at(path)->status.owner = owner;
}

void FakeFileSystem::setOnCompressingVolume(const Path &path)
{
    const std::lock_guard lock(m_mutex);
    m_nodes.at(path)->isOnCompressingVolume = true;
}

void FakeFileSystem::setGroup(const Path &path, std::uint32_t group)
{
    const std::lock_guard lock(m_mutex);
    m_nodes.at(path)->status.group = group;
}

void FakeFileSystem::setMode(const Path &path, std::uint32_t mode)
{
    const std::lock_guard lock(m_mutex);
    m_nodes.at(path)->status.mode = mode;
}

void FakeFileSystem::setModified(const Path &path, std::int64_t seconds)
{
    const std::lock_guard lock(m_mutex);
    m_nodes.at(path)->status.modified = seconds;
}

void FakeFileSystem::setRenamesLast(bool doLast)
{
    const std::lock_guard lock(m_mutex);
    m_doRenamesLast = doLast;
}

void FakeFileSystem::setUnreadable(const Path &path)
{
    const std::lock_guard lock(m_mutex);
    m_nodes.at(path)->isUnreadable = true;
}

Result<FileStatus> FakeFileSystem::status(const Path &path, Links links) const
{
    const std::lock_guard lock(m_mutex);
    const Result<NodePointer> node = reach(path, links);
    if (!node)
        return node.failure();
    FileStatus answer = (*node)->status;
    answer.size = (*node)->content.size();
    answer.occupied = occupiedBlocks(answer.size);
    return answer;
}

Result<bool> FakeFileSystem::isWritable(const Path &path) const
{
    const std::lock_guard lock(m_mutex);
    const Result<NodePointer> node = reach(path, Links::Follow);
    if (!node)
        return node.failure();
    constexpr std::uint32_t kOwnerMayWrite = 0200;
    return ((*node)->status.mode & kOwnerMayWrite) != 0;
}

Result<Bytes> FakeFileSystem::readFile(const Path &path, ByteCount limit) const
{
    const std::lock_guard lock(m_mutex);
    const Result<NodePointer> node = reach(path, Links::Follow);
    if (!node)
        return node.failure();
    if ((*node)->status.type != FileType::Regular)
        return Failure{ErrorCode::NotSupported, 0, path.native() + " is not a regular file"};
    if ((*node)->isUnreadable)
        return Failure::fromErrno(EACCES, "fake", path);
    if ((*node)->content.size() > limit)
        return Failure::fromErrno(EFBIG, "fake", path);
    return (*node)->content;
}

Result<void> FakeFileSystem::replaceFile(const Path &path, ByteView content, std::uint32_t mode)
{
    const std::lock_guard lock(m_mutex);
    if (const auto failure = m_schedule.next())
        return *failure;
    const NodePointer old = find(path, Links::NotFollow);
    if (old && old->status.type != FileType::Regular)
        return Failure{ErrorCode::NotSupported, 0, path.native() + " is not a regular file"};
    if (const Result<void> place = checkPlace(path); !old && !place)
        return place;
    const NodePointer made = add(path, FileType::Regular);
    made->status.mode = old ? old->status.mode : mode;
    if (old) {
        made->status.owner = old->status.owner;
        made->status.group = old->status.group;
        --old->status.linkCount;
    }
    made->content.assign(content.begin(), content.end());
    return {};
}

Result<void> FakeFileSystem::replaceFileKeepingOld(const Path &path, ByteView content, const Path &kept)
{
    const std::lock_guard lock(m_mutex);
    const Result<NodePointer> old = reach(path, Links::NotFollow);
    if (!old)
        return old.failure();
    if ((*old)->status.type != FileType::Regular)
        return Failure{ErrorCode::NotSupported, 0, path.native() + " is not a regular file"};
    if (Result<void> place = checkPlace(kept); !place)
        return place;
    m_nodes[kept] = *old;
    const NodePointer made = add(path, FileType::Regular);
    made->status.mode = (*old)->status.mode;
    made->status.owner = (*old)->status.owner;
    made->status.group = (*old)->status.group;
    made->content.assign(content.begin(), content.end());
    return {};
}

Result<void> FakeFileSystem::createFile(const Path &path, ByteView content, std::uint32_t mode)
{
    const std::lock_guard lock(m_mutex);
    if (const auto failure = m_schedule.next())
        return *failure;
    if (Result<void> place = checkPlace(path); !place)
        return place;
    const NodePointer made = add(path, FileType::Regular);
    made->status.mode = mode;
    made->content.assign(content.begin(), content.end());
    return {};
}

Result<void> FakeFileSystem::makeDirectory(const Path &path, std::uint32_t mode)
{
    const std::lock_guard lock(m_mutex);
    if (const auto failure = m_schedule.next())
        return *failure;
    if (Result<void> place = checkPlace(path); !place)
        return place;
    add(path, FileType::Directory)->status.mode = mode;
    return {};
}

Result<void> FakeFileSystem::moveWithoutReplacing(const Path &from, const Path &to)
{
    const std::lock_guard lock(m_mutex);
    const Result<NodePointer> node = reach(from, Links::NotFollow);
    if (!node)
        return node.failure();
    if (Result<void> place = checkPlace(to); !place)
        return place;
    if (isInside(to, from))
        return Failure::fromErrno(EINVAL, "fake", to);
    std::map<Path, NodePointer> moved;
    for (const auto &[path, each] : m_nodes) {
        if (path == from)
            moved[to] = each;
        else if (isInside(path, from))
            moved[Path(to.native() + path.native().substr(from.native().size()))] = each;
    }
    std::erase_if(m_nodes, [&](const auto &entry) { return isInside(entry.first, from); });
    m_nodes.merge(moved);
    return {};
}

Result<void> FakeFileSystem::removeFile(const Path &path)
{
    const std::lock_guard lock(m_mutex);
    const Result<NodePointer> node = reach(path, Links::NotFollow);
    if (!node)
        return node.failure();
    if ((*node)->status.type == FileType::Directory)
        return Failure::fromErrno(EISDIR, "fake", path);
    --(*node)->status.linkCount;
    m_nodes.erase(path);
    return {};
}

Result<std::vector<std::string>> FakeFileSystem::entries(const Path &directory) const
{
    const std::lock_guard lock(m_mutex);
    const Result<NodePointer> node = reach(directory, Links::Follow);
    if (!node)
        return node.failure();
    if ((*node)->status.type != FileType::Directory)
        return Failure{ErrorCode::NotSupported, ENOTDIR, directory.native() + " is not a directory"};
    if ((*node)->isUnreadable)
        return Failure::fromErrno(EACCES, "fake", directory);
    std::vector<std::string> names;
    for (const auto &[path, each] : m_nodes) {
        if (path != folderOf(path) && folderOf(path) == directory.lexically_normal())
            names.push_back(path.filename().native());
    }
    std::sort(names.begin(), names.end());
    return names;
}

Result<void> FakeFileSystem::walk(const Path &root, const std::function<bool(const WalkEntry &)> &visit,
                                  const std::function<void(const Path &, const Failure &)> &unreadable,
                                  std::stop_token stop, MountPoints mountPoints) const
{
    std::map<Path, NodePointer> below;
    {
        const std::lock_guard lock(m_mutex);
        const Result<NodePointer> node = reach(root, Links::NotFollow);
        if (!node)
            return node.failure();
        if ((*node)->status.type != FileType::Directory)
            return Failure{ErrorCode::NotSupported, ENOTDIR, root.native() + " is not a directory"};
        if ((*node)->isUnreadable)
            return Failure::fromErrno(EACCES, "fake", root);
        below = m_nodes;
    }
    const auto device = below.at(root)->status.identity.device;
    std::set<Path> entered{root};
    for (const auto &[path, node] : below) {
        if (path == root || !isInside(path, root) || !entered.contains(folderOf(path)))
            continue;
        if (stop.stop_requested())
            return {};
        FileStatus status = node->status;
        status.size = node->content.size();
        const bool isWanted = visit({path, status});
        if (status.type != FileType::Directory || !isWanted ||
            (status.identity.device != device && mountPoints == MountPoints::NotEnter))
            continue;
        if (node->isUnreadable)
            unreadable(path, Failure::fromErrno(EACCES, "fake", path));
        else
            entered.insert(path);
    }
    return {};
}
