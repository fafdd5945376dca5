#include "Platform/Fake/FakeFileSystem.h"
#include "Platform/Fake/FakeFileSystemNode.h"
#include "Platform/Formats/CompressedFile.h"
#include "Platform/Formats/MemoryFork.h"

static constexpr ByteCount kLargestValue = ByteCount{64} << 10;

std::uint32_t FakeFileSystem::Node::visibleFlags() const
{
    const bool isCompressible = status.type == FileType::Regular;
    if (isCompressible && !content.empty())
        return isOnCompressingVolume ? kCompressedFlag : 0;
    return isCompressible ? flags : flags & ~kCompressedFlag;
}

Result<std::uint32_t> FakeFileSystem::flags(const Path &path) const
{
    const std::lock_guard lock(m_mutex);
    const Result<NodePointer> node = reach(path, Links::NotFollow);
    if (!node)
        return node.failure();
    return (*node)->visibleFlags();
}

Result<void> FakeFileSystem::setFlags(const Path &path, std::uint32_t flags)
{
    const std::lock_guard lock(m_mutex);
    const Result<NodePointer> node = reach(path, Links::NotFollow);
    if (!node)
        return node.failure();
    if ((*node)->status.type == FileType::Link)
        return Failure::fromErrno(EPERM, "fake", path);
    const bool isCompressed = !(*node)->content.empty() && (*node)->isOnCompressingVolume;
    if (isCompressed && !(flags & kCompressedFlag))
        return Failure::fromErrno(ENOTSUP, "fake", path);
    (*node)->flags = flags;
    return {};
}

Result<ByteCount> FakeFileSystem::logicalSize(const Path &path) const
{
    const std::lock_guard lock(m_mutex);
    const Result<NodePointer> node = reach(path, Links::NotFollow);
    if (!node)
        return node.failure();
    if (!(*node)->content.empty() || !((*node)->visibleFlags() & kCompressedFlag))
        return ByteCount((*node)->content.size());
    const auto value = (*node)->attributes.find(kDecmpfsAttribute);
    if (value == (*node)->attributes.end())
        return Failure::fromErrno(ENODATA, "fake", path);
    const std::optional<HFSPlusDecmpfs> header = readDecmpfs(value->second);
    if (!header)
        return Failure{ErrorCode::Corrupt, 0, path.native() + ": the compression header is damaged"};
    const Result<CompressedFork> heads = readCompressedFork(MemoryFork((*node)->fork.value_or(Bytes())));
    return boundedLogicalSize(*header, heads ? heads->blockHead.numBlocks : 0);
}

Result<ByteCount> FakeFileSystem::occupiedSize(const Path &path) const
{
    const std::lock_guard lock(m_mutex);
    const Result<NodePointer> node = reach(path, Links::NotFollow);
    if (!node)
        return node.failure();
    return occupiedBlocks((*node)->content.size()) + occupiedBlocks((*node)->fork.value_or(Bytes()).size());
}

Result<std::vector<std::string>> FakeFileSystem::attributeNames(const Path &path, Links links) const
{
    const std::lock_guard lock(m_mutex);
    const Result<NodePointer> node = reach(path, links);
    if (!node)
        return node.failure();
    std::vector<std::string> names;
    for (const auto &[name, value] : (*node)->attributes)
        names.push_back(name);
    return names;
}

Result<Bytes> FakeFileSystem::attribute(const Path &path, const std::string &name, Links links) const
{
    const std::lock_guard lock(m_mutex);
    const Result<NodePointer> node = reach(path, links);
    if (!node)
        return node.failure();
    const auto found = (*node)->attributes.find(name);
    if (found == (*node)->attributes.end())
        return Failure::fromErrno(ENODATA, "fake", path);
    return found->second;
}

Result<void> FakeFileSystem::setAttribute(const Path &path, const std::string &name, ByteView value, Links links)
{
    const std::lock_guard lock(m_mutex);
    const Result<NodePointer> node = reach(path, links);
    if (!node)
        return node.failure();
    if ((*node)->status.type == FileType::Link || name.empty())
        return Failure::fromErrno(EPERM, "fake", path);
    if (value.size() > kLargestValue)
        return Failure::fromErrno(E2BIG, "fake", path);
    (*node)->attributes[name] = Bytes(value.begin(), value.end());
    return {};
}

Result<void> FakeFileSystem::removeAttribute(const Path &path, const std::string &name, Links links)
{
    const std::lock_guard lock(m_mutex);
    const Result<NodePointer> node = reach(path, links);
    if (!node)
        return node.failure();
    if ((*node)->attributes.erase(name) == 0)
        return Failure::fromErrno(ENODATA, "fake", path);
    return {};
}

Result<std::unique_ptr<ReadableFork>> FakeFileSystem::openResourceFork(const Path &path) const
{
    const std::lock_guard lock(m_mutex);
    const Result<NodePointer> node = reach(path, Links::NotFollow);
    if (!node)
        return node.failure();
    if (!(*node)->fork || (*node)->fork->empty())
        return Failure::fromErrno(ENODATA, "fake", path);
    return std::unique_ptr<ReadableFork>(std::make_unique<MemoryFork>(*(*node)->fork));
}

Result<void> FakeFileSystem::createForkedFile(const Path &path, const NewForkedFile &file)
{
    constexpr std::size_t kLongestName = 253;
    const std::lock_guard lock(m_mutex);
    if (const auto failure = m_schedule.next())
        return *failure;
    if (Result<void> place = checkPlace(path); !place)
        return place;
    if (path.filename().native().size() > kLongestName)
        return Failure::fromErrno(ENAMETOOLONG, "fake", path);
    const NodePointer made = add(path, FileType::Regular);
    made->status.mode = file.like.mode;
    made->status.owner = file.like.owner;
    made->status.group = file.like.group;
    made->status.modified = file.like.modified;
    made->status.modifiedNanoseconds = file.like.modifiedNanoseconds;
    made->attributes.insert(file.attributes.begin(), file.attributes.end());
    made->fork = Bytes(file.fork.begin(), file.fork.end());
    made->flags = file.flags;
    return {};
}

Result<void> FakeFileSystem::removeForkedFile(const Path &path)
{
    return removeFile(path);
}
