#include "Platform/Formats/AliasIdentity.h"

#include "Platform/Formats/BigEndian.h"

static constexpr std::uint8_t kVersion = 1;
static constexpr std::uint8_t kHasBirth = 1;
static constexpr std::uint8_t kHasPersistentIds = 2;
static constexpr std::size_t kUuidLength = 16;
static constexpr std::size_t kLongestHandle = 128;

Bytes AliasIdentity::encode() const
{
    Bytes bytes = {kVersion, std::uint8_t((birth ? kHasBirth : 0) | (hasPersistentIds ? kHasPersistentIds : 0)),
                   std::uint8_t(volumeUuid.size())};
    bytes.insert(bytes.end(), volumeUuid.begin(), volumeUuid.end());
    appendBigEndian(bytes, fileSystemId);
    appendBigEndian(bytes, inode);
    appendBigEndian(bytes, std::uint64_t(birth ? birth->seconds : 0));
    appendBigEndian(bytes, birth ? birth->nanoseconds : 0u);
    appendBigEndian(bytes, handleType);
    bytes.push_back(std::uint8_t(handle.size()));
    bytes.insert(bytes.end(), handle.begin(), handle.end());
    return bytes;
}

std::optional<AliasIdentity> AliasIdentity::parse(ByteView bytes)
{
    BigEndianReader reader(bytes);
    if (reader.read<std::uint8_t>() != kVersion)
        return std::nullopt;
    const auto copy = [](ByteView view) { return Bytes(view.begin(), view.end()); };
    AliasIdentity identity;
    const std::uint8_t flags = reader.read<std::uint8_t>();
    identity.hasPersistentIds = flags & kHasPersistentIds;
    identity.volumeUuid = copy(reader.take(reader.read<std::uint8_t>()));
    identity.fileSystemId = reader.read<std::uint64_t>();
    identity.inode = reader.read<std::uint64_t>();
    const std::int64_t seconds = std::int64_t(reader.read<std::uint64_t>());
    const std::uint32_t nanoseconds = reader.read<std::uint32_t>();
    if (flags & kHasBirth)
        identity.birth = {seconds, nanoseconds};
    identity.handleType = reader.read<std::uint32_t>();
    identity.handle = copy(reader.take(reader.read<std::uint8_t>()));
    const bool fits = (identity.volumeUuid.empty() || identity.volumeUuid.size() == kUuidLength) &&
                      identity.handle.size() <= kLongestHandle;
    return reader.isGood() && fits ? std::optional(identity) : std::nullopt;
}

bool AliasIdentity::isOnVolumeOf(const AliasIdentity &other) const
{
    if (!volumeUuid.empty() && !other.volumeUuid.empty())
        return volumeUuid == other.volumeUuid;
    return fileSystemId != 0 && fileSystemId == other.fileSystemId;
}

bool AliasIdentity::isSameAs(const AliasIdentity &other) const
{
    if (!isOnVolumeOf(other))
        return false;
    if (!hasPersistentIds || !other.hasPersistentIds)
        return birth == other.birth; // most of FUSE knows none; then the place must do
    if (inode != other.inode)
        return false;
    if (!handle.empty() && !other.handle.empty() && handleType == other.handleType)
        return handle == other.handle;
    // hfsplus of older kernels tells neither, but gives no number out twice.
    return !birth || !other.birth || birth == other.birth;
}
