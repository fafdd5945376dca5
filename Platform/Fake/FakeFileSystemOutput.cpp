#include "Platform/Fake/FakeFileSystem.h"
#include "Platform/Fake/FakeFileSystemNode.h"

/// Takes the node out of the locked ones when it is destroyed.
class FakeFileSystem::Lock final : public FileLock
{
public:
    Lock(const FakeFileSystem &files, NodePointer node)
        : m_files(files)
        , m_node(std::move(node))
    {
        m_files.m_locked.insert(m_node);
    }
    ~Lock() override
    {
        const std::lock_guard lock(m_files.m_mutex);
        m_files.m_locked.erase(m_node);
    }

private:
    const FakeFileSystem &m_files;
    NodePointer m_node;
};

class FakeFileSystem::Output final : public OutputFile
{
public:
    Output(FakeFileSystem &files, Path path, NodePointer node, bool isScratch)
        : m_files(files)
        , m_lock(files, node)
        , m_path(std::move(path))
        , m_node(std::move(node))
        , m_isScratch(isScratch)
    {
    }
    ~Output() override
    {
        const std::lock_guard lock(m_files.m_mutex);
        if (m_isScratch && isNamed())
            m_files.m_nodes.erase(m_path);
    }

    Result<void> write(ByteView content) override
    {
        const std::lock_guard lock(m_files.m_mutex);
        if (const auto failure = m_files.m_schedule.next())
            return *failure;
        m_node->content.insert(m_node->content.end(), content.begin(), content.end());
        return {};
    }

    Result<void> close() override
    {
        const std::lock_guard lock(m_files.m_mutex);
        if (const auto failure = m_files.m_schedule.next())
            return *failure;
        return {};
    }

    Result<void> makeLike(const Path &original, const FileStatus &examined) override
    {
        const std::lock_guard lock(m_files.m_mutex);
        const Result<NodePointer> node = m_files.reach(original, Links::NotFollow);
        if (!node)
            return node.failure();
        if ((*node)->status.identity != examined.identity || !isNamed())
            return Failure::fromErrno(EBUSY, "fake", original);
        m_node->status.mode = (*node)->status.mode;
        m_node->status.owner = (*node)->status.owner;
        m_node->status.group = (*node)->status.group;
        m_node->status.modified = (*node)->status.modified;
        m_node->flags = 0;
        return {};
    }

    Result<bool> replace(const Path &destination, const FileStatus &examined,
                         const std::function<bool()> &mayReplace) override
    {
        const bool mayBeReplaced = mayReplace(); // which may ask for files
        const std::lock_guard lock(m_files.m_mutex);
        const Result<NodePointer> node = m_files.reach(destination, Links::NotFollow);
        if (!node)
            return node.failure();
        const FileStatus &now = (*node)->status;
        if (now.identity != examined.identity || now.type != FileType::Regular ||
            (*node)->content.size() != examined.size || now.modified != examined.modified ||
            now.linkCount != examined.linkCount || !isNamed() || !mayBeReplaced)
            return Failure::fromErrno(EBUSY, "fake", destination);
        --(*node)->status.linkCount;
        m_files.m_nodes.erase(m_path);
        m_files.m_nodes[destination] = m_node;
        m_isScratch = false;
        return m_files.m_doRenamesLast;
    }

    Result<void> setFlags(std::uint32_t flags) override
    {
        const std::lock_guard lock(m_files.m_mutex);
        if (const auto failure = m_files.m_schedule.next())
            return *failure;
        m_node->flags = flags;
        return {};
    }

private:
    bool isNamed() const { return m_files.find(m_path, Links::NotFollow) == m_node; }

    FakeFileSystem &m_files;
    Lock m_lock;
    Path m_path;
    NodePointer m_node;
    bool m_isScratch;
};

Result<bool> FakeFileSystem::isForkShared(const Path &path) const
{
    const std::lock_guard lock(m_mutex);
    const Result<NodePointer> node = reach(path, Links::NotFollow);
    if (!node)
        return node.failure();
    return (*node)->status.linkCount > 1 && !(*node)->fork; // a fork is always kept with its file
}

Result<void> FakeFileSystem::discardFork(const Path &path, const ReadableFork &, const std::vector<std::string> &)
{
    const std::lock_guard lock(m_mutex);
    const Result<NodePointer> node = reach(path, Links::NotFollow);
    if (!node)
        return node.failure();
    return {};
}

Result<std::unique_ptr<FileLock>> FakeFileSystem::lockFile(const Path &path) const
{
    const std::lock_guard lock(m_mutex);
    const Result<NodePointer> node = reach(path, Links::NotFollow);
    if (!node)
        return node.failure();
    if ((*node)->status.type != FileType::Regular)
        return Failure{ErrorCode::NotSupported, 0, path.native() + " is not a regular file"};
    if ((*node)->isUnreadable)
        return Failure::fromErrno(EACCES, "fake", path);
    if (m_locked.contains(*node))
        return Failure::fromErrno(EWOULDBLOCK, "fake", path);
    return std::unique_ptr<FileLock>(std::make_unique<Lock>(*this, *node));
}

Result<std::unique_ptr<OutputFile>> FakeFileSystem::openScratchFile(const Path &path, std::uint32_t mode)
{
    return openOutput(path, (mode & 0777) | 0600, true);
}

Result<std::unique_ptr<OutputFile>> FakeFileSystem::openNewFile(const Path &path, std::uint32_t mode)
{
    return openOutput(path, mode & 0777, false);
}

bool FakeFileSystem::isAbandoned(const NodePointer &node) const
{
    return !m_locked.contains(node) && node->status.type == FileType::Regular && node->status.owner == 0 &&
           node->status.linkCount == 1;
}

Result<std::unique_ptr<OutputFile>> FakeFileSystem::openOutput(const Path &path, std::uint32_t mode, bool isScratch)
{
    const std::lock_guard lock(m_mutex);
    if (const auto failure = m_schedule.next())
        return *failure;
    const NodePointer found = isScratch ? find(path, Links::NotFollow) : nullptr;
    if (found && m_locked.contains(found))
        return Failure::fromErrno(EWOULDBLOCK, "fake", path);
    if (found && isAbandoned(found))
        m_nodes.erase(path);
    if (const Result<void> place = checkPlace(path); !place)
        return place.failure();
    const NodePointer made = add(path, FileType::Regular);
    made->status.mode = mode;
    return std::unique_ptr<OutputFile>(std::make_unique<Output>(*this, path, made, isScratch));
}

bool FakeFileSystem::isNameInTheMaking(std::string_view name) const
{
    return name.starts_with(".in-the-making-");
}

void FakeFileSystem::removeAbandoned(const Path &path)
{
    const std::lock_guard lock(m_mutex);
    const NodePointer found = find(path, Links::NotFollow);
    if (found && isAbandoned(found))
        m_nodes.erase(path);
}

void FakeFileSystem::removeAbandonedPartsOf(const Path &) {} // nothing is ever left: a call is done whole or not at all

Result<UniqueFile> FakeFileSystem::makeUniqueFile(const Path &prefix)
{
    const std::lock_guard lock(m_mutex);
    if (const auto failure = m_schedule.next())
        return *failure;
    for (int number = 100000;; ++number) {
        const Path path = prefix.native() + std::to_string(number);
        const Result<void> place = checkPlace(path);
        if (!place && place.failure().code != ErrorCode::Exists)
            return place.failure();
        if (!place)
            continue;
        add(path, FileType::Regular)->status.mode = 0600;
        return UniqueFile{path, -1};
    }
}
