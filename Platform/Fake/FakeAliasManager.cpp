#include "Platform/Fake/FakeAliasManager.h"

#include "Platform/Formats/BigEndian.h"
#include "Platform/Formats/MacText.h"

#include <algorithm>

static bool isAtOrBelow(const Path &path, const Path &folder)
{
    return std::mismatch(folder.begin(), folder.end(), path.begin(), path.end()).first == folder.end();
}

FakeAliasManager::FakeAliasManager()
{
    addVolume("Disk", "/");
}

FakeAliasManager::Node FakeAliasManager::newNode(bool isFolder)
{
    Node node{m_lastNumber + 1, ++m_lastGeneration, isFolder};
    if (m_freeNumbers.empty()) {
        ++m_lastNumber;
    } else {
        node.number = m_freeNumbers.back();
        m_freeNumbers.pop_back();
    }
    return node;
}

void FakeAliasManager::addVolume(const std::string &name, const Path &mountPoint)
{
    const std::lock_guard lock(m_mutex);
    m_volumes.push_back({name, mountPoint, {{".", newNode(true)}}});
}

void FakeAliasManager::add(const Path &path, bool isFolder)
{
    const std::lock_guard lock(m_mutex);
    const Place place = placeOf(path).value();
    std::map<Path, Node> &nodes = m_volumes[place.volume].nodes;
    Path parent;
    for (const Path &part : place.path.parent_path()) {
        parent /= part;
        if (!nodes.contains(parent))
            nodes[parent] = newNode(true);
    }
    if (!nodes.contains(place.path))
        nodes[place.path] = newNode(isFolder);
}

void FakeAliasManager::move(const Path &from, const Path &to)
{
    const std::lock_guard lock(m_mutex);
    const Place source = placeOf(from).value();
    const Place destination = placeOf(to).value();
    std::map<Path, Node> &nodes = m_volumes[source.volume].nodes;
    std::map<Path, Node> moved;
    for (auto each = nodes.begin(); each != nodes.end();) {
        if (!isAtOrBelow(each->first, source.path)) {
            ++each;
            continue;
        }
        const Path rest = each->first.lexically_relative(source.path);
        moved[rest == "." ? destination.path : destination.path / rest] = each->second;
        each = nodes.erase(each);
    }
    m_volumes[destination.volume].nodes.merge(moved);
}

void FakeAliasManager::remove(const Path &path)
{
    const std::lock_guard lock(m_mutex);
    const Place place = placeOf(path).value();
    std::erase_if(m_volumes[place.volume].nodes, [&](const auto &each) {
        const bool removed = isAtOrBelow(each.first, place.path);
        if (removed)
            m_freeNumbers.push_back(each.second.number);
        return removed;
    });
}

void FakeAliasManager::mount(const std::string &volume, const Path &mountPoint)
{
    const std::lock_guard lock(m_mutex);
    for (Volume &each : m_volumes) {
        if (each.name == volume)
            each.mountPoint = mountPoint;
    }
}

void FakeAliasManager::rename(const std::string &volume, const std::string &name)
{
    const std::lock_guard lock(m_mutex);
    for (Volume &each : m_volumes) {
        if (each.name == volume)
            each.name = name;
    }
}

std::optional<FakeAliasManager::Place> FakeAliasManager::placeOf(const Path &path) const
{
    std::optional<Place> place;
    std::size_t longest = 0;
    for (std::size_t index = 0; index < m_volumes.size(); ++index) {
        const Path &mountPoint = m_volumes[index].mountPoint;
        if (mountPoint.empty() || !isAtOrBelow(path, mountPoint) || mountPoint.native().size() < longest)
            continue;
        longest = mountPoint.native().size();
        place = Place{index, path.lexically_normal().lexically_relative(mountPoint)};
    }
    return place;
}

const FakeAliasManager::Node *FakeAliasManager::find(const Path &path) const
{
    const std::optional<Place> place = placeOf(path);
    if (!place)
        return nullptr;
    const auto found = m_volumes[place->volume].nodes.find(place->path);
    return found == m_volumes[place->volume].nodes.end() ? nullptr : &found->second;
}

AliasIdentity FakeAliasManager::identityOf(std::size_t volume, const Node &node) const
{
    AliasIdentity identity;
    identity.fileSystemId = volume + 1;
    identity.inode = node.number;
    appendBigEndian(identity.handle, node.generation);
    return identity;
}

AliasRecord FakeAliasManager::recordFor(const Path &path) const
{
    const Place place = placeOf(path).value();
    const Volume &volume = m_volumes[place.volume];
    const Node &node = volume.nodes.at(place.path);
    const Node *const parent = find(path.parent_path());
    AliasRecord record;
    record.kind = node.isFolder ? AliasRecord::kFolder : AliasRecord::kFile;
    record.signature = 0x482B; // "H+"
    record.parentID = parent ? std::uint32_t(parent->number) : 0;
    record.targetID = std::uint32_t(node.number);
    record.volumeAttributes = kAliasPersistentIDs | (volume.mountPoint == "/" ? kAliasBootVolume : 0u);
    record.oldVolumeName = volume.name;
    record.oldTargetName = path.filename().native();
    record.reserved.assign(10, 0);
    record.set(AliasTag::kTargetName, MacText::countedUtf16(path.filename().native()));
    record.set(AliasTag::kVolumeName, MacText::countedUtf16(volume.name));
    record.set(AliasTag::kPosixPath, bytesOf(place.path == "." ? std::string() : place.path.native()));
    record.set(AliasTag::kMountPoint, bytesOf(volume.mountPoint.native()));
    record.set(AliasTag::kIdentity, identityOf(place.volume, node).encode());
    return record;
}

std::optional<Path> FakeAliasManager::pathOf(const AliasIdentity &identity) const
{
    for (std::size_t index = 0; index < m_volumes.size(); ++index) {
        const Volume &volume = m_volumes[index];
        for (const auto &[path, node] : volume.nodes) {
            if (!volume.mountPoint.empty() && identityOf(index, node).isSameAs(identity))
                return path == "." ? volume.mountPoint : volume.mountPoint / path;
        }
    }
    return std::nullopt;
}

Result<Bytes> FakeAliasManager::newAlias(const Path &target, const Path &relativeTo) const
{
    const std::lock_guard lock(m_mutex);
    if (const std::optional<Failure> failure = m_schedule.next())
        return *failure;
    if (!find(target) || (!relativeTo.empty() && !find(relativeTo)))
        return Failure{ErrorCode::NotFound, ENOENT, target.native()};
    return recordFor(target).encode();
}

Result<AliasManager::Resolution> FakeAliasManager::resolve(ByteView bytes, const Path &relativeTo) const
{
    const std::lock_guard lock(m_mutex);
    if (const std::optional<Failure> failure = m_schedule.next())
        return *failure;
    const Result<AliasRecord> record = AliasRecord::parse(bytes);
    if (!record)
        return record.failure();
    const Bytes *const tag = record->find(AliasTag::kIdentity);
    const std::optional<AliasIdentity> identity = tag ? AliasIdentity::parse(*tag) : std::nullopt;
    const std::optional<Path> path = identity ? pathOf(*identity) : std::nullopt;
    if (!path || (!relativeTo.empty() && !find(relativeTo)))
        return Failure{ErrorCode::NotFound, ENOENT, describe(*record).path};
    if (*path == describe(*record).path)
        return Resolution{*path, Bytes(bytes.begin(), bytes.end())};
    AliasRecord current = recordFor(*path);
    for (const AliasTag &each : record->tags) {
        if (!current.find(each.tag))
            current.tags.push_back(each);
    }
    return Resolution{*path, current.encode().valueOr(Bytes(bytes.begin(), bytes.end()))};
}

Result<AliasInfo> FakeAliasManager::copyInfo(ByteView bytes) const
{
    const std::lock_guard lock(m_mutex);
    if (const std::optional<Failure> failure = m_schedule.next())
        return *failure;
    const Result<AliasRecord> record = AliasRecord::parse(bytes);
    if (!record)
        return record.failure();
    return describe(*record);
}
