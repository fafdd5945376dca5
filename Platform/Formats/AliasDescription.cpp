#include "Platform/Formats/AliasRecord.h"
#include "Platform/Formats/BigEndian.h"
#include "Platform/Formats/MacText.h"

#include <algorithm>

static constexpr std::uint16_t kHfs = 0x4244;     // "BD"
static constexpr std::uint16_t kHfsPlus = 0x482B; // "H+"
static constexpr std::uint16_t kFirstEjectableDisk = 2;
static constexpr std::uint16_t kLastEjectableDisk = 5;

/// The Unicode name in `tag`, or `other` where there is none.
static std::string unicodeName(const AliasRecord &record, std::int16_t tag, const std::string &other)
{
    const Bytes *const value = record.find(tag);
    if (!value)
        return other;
    BigEndianReader reader(*value);
    const std::size_t length = std::size_t(reader.read<std::uint16_t>()) * 2;
    const ByteView units = reader.take(std::min(length, reader.remaining()));
    return units.empty() ? other : MacText::fromUtf16(units);
}

/// A path in `tag`, up to the zero that some writers end it with.
static std::optional<std::string> pathIn(const AliasRecord &record, std::int16_t tag)
{
    const Bytes *const value = record.find(tag);
    if (!value)
        return std::nullopt;
    return std::string(value->begin(), std::find(value->begin(), value->end(), std::uint8_t(0)));
}

static std::string lastComponent(const std::string &path)
{
    return path.substr(path.rfind('/') + 1);
}

/// "Disk:Folder:a/b" is "/Volumes/Disk/Folder/a:b": the two separators change places.
static std::string fromColonPath(const Bytes &value)
{
    std::string path = MacText::fromMacRoman(ByteView(value.begin(), std::find(value.begin(), value.end(), 0)));
    for (char &character : path) {
        if (character == ':')
            character = '/';
        else if (character == '/')
            character = ':';
    }
    return path.empty() ? path : "/Volumes/" + path;
}

static std::string fullPath(const AliasRecord &record)
{
    const std::optional<std::string> posix = pathIn(record, AliasTag::kPosixPath);
    if (!posix) {
        const Bytes *const colons = record.find(AliasTag::kColonPath);
        return colons ? fromColonPath(*colons) : std::string();
    }
    std::string path = pathIn(record, AliasTag::kMountPoint).value_or("/");
    while (path.ends_with('/'))
        path.pop_back();
    const std::size_t start = std::min(posix->find_first_not_of('/'), posix->size());
    if (start < posix->size() || path.empty())
        path += "/" + posix->substr(start);
    return path;
}

AliasInfo describe(const AliasRecord &record)
{
    const bool isOurs = record.find(AliasTag::kIdentity) != nullptr;
    const auto attribute = [&](AliasVolumeAttribute bit) { return isOurs && (record.volumeAttributes & bit) != 0; };
    const std::string mountPoint = pathIn(record, AliasTag::kMountPoint).value_or("");
    AliasInfo info;
    info.path = fullPath(record);
    info.targetName = unicodeName(record, AliasTag::kTargetName, record.oldTargetName);
    if (info.targetName.empty())
        info.targetName = MacText::wellFormed(lastComponent(info.path));
    info.volumeName = unicodeName(record, AliasTag::kVolumeName, record.oldVolumeName);
    if (info.volumeName.empty())
        info.volumeName = MacText::wellFormed(lastComponent(mountPoint));
    info.fileType = record.type;
    info.fileCreator = record.creator;
    info.parentDirID = record.parentID;
    info.nodeID = record.targetID;
    info.filesystemID = record.fileSystemID;
    info.signature = record.signature;
    info.volumeIsBootVolume = isOurs ? attribute(kAliasBootVolume) : mountPoint == "/";
    info.volumeIsAutomounted = attribute(kAliasAutomounted);
    info.volumeIsEjectable = isOurs ? attribute(kAliasEjectable)
                                    : record.diskType >= kFirstEjectableDisk && record.diskType <= kLastEjectableDisk;
    info.volumeHasPersistentFileIDs =
        isOurs ? attribute(kAliasPersistentIDs) : record.signature == kHfs || record.signature == kHfsPlus;
    return info;
}
