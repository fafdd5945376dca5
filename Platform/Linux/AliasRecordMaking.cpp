#include "Platform/Linux/AliasRecordMaking.h"

#include "Platform/Formats/BigEndian.h"
#include "Platform/Formats/MacText.h"
#include "Platform/Linux/AliasVolume.h"

#include <algorithm>

#include <sys/stat.h>

static constexpr std::int64_t kSecondsFrom1904To1970 = 2082844800;
static constexpr std::size_t kMostColonPath = 1024;
static constexpr std::size_t kMostFolderName = 63;

/// In 1/65536 s since 1904.
static std::uint64_t macDate(std::int64_t secondsSince1970)
{
    return std::uint64_t(std::max<std::int64_t>(secondsSince1970 + kSecondsFrom1904To1970, 0)) << 16;
}

static Bytes dateValue(std::uint64_t date)
{
    Bytes value;
    appendBigEndian(value, date);
    return value;
}

static std::uint64_t inodeOf(const Path &path)
{
    struct stat status = {};
    return ::lstat(path.c_str(), &status) == 0 ? status.st_ino : 0;
}

/// The low halves of the numbers of the folders between the volume's top and the target, innermost first; none for the
/// top itself.
static Bytes enclosingIDs(const Path &path, const Path &mountPoint)
{
    Bytes value;
    for (Path folder = path == mountPoint ? path : path.parent_path();
         folder != mountPoint && folder.has_relative_path(); folder = folder.parent_path())
        appendBigEndian(value, std::uint32_t(inodeOf(folder)));
    return value;
}

static std::string colonPath(const std::string &volumeName, const std::string &onVolume)
{
    std::string path = MacText::wellFormed(onVolume);
    for (char &character : path) {
        if (character == '/')
            character = ':';
        else if (character == ':')
            character = '/';
    }
    return volumeName + ":" + path;
}

static void setNames(AliasRecord &record, const AliasTarget &target, const AliasVolume &volume)
{
    const Path onVolume = target.path.lexically_relative(volume.mountPoint);
    const std::string relative = onVolume == "." ? std::string() : onVolume.native();
    const std::string name = relative.empty() ? volume.name : target.path.filename().native();
    record.oldVolumeName = volume.name;
    record.oldTargetName = name;
    const Path parent = target.path.parent_path();
    const bool isInTop = relative.empty() || parent == volume.mountPoint;
    const std::string parentName = isInTop ? volume.name : parent.filename().native();
    record.set(AliasTag::kFolderName, MacText::toMacRoman(parentName, kMostFolderName));
    record.set(AliasTag::kEnclosingIDs, enclosingIDs(target.path, volume.mountPoint));
    record.set(AliasTag::kColonPath, MacText::toMacRoman(colonPath(volume.name, relative), kMostColonPath));
    record.set(AliasTag::kTargetName, MacText::countedUtf16(name));
    record.set(AliasTag::kVolumeName, MacText::countedUtf16(volume.name));
    record.set(AliasTag::kPosixPath, bytesOf(relative));
    record.set(AliasTag::kMountPoint, bytesOf(volume.mountPoint.native()));
}

static std::uint32_t attributesOf(const AliasVolume &volume, const AliasIdentity &identity)
{
    return (volume.isBootVolume ? kAliasBootVolume : 0u) | (volume.isAutomounted ? kAliasAutomounted : 0u) |
           (volume.isEjectable ? kAliasEjectable : 0u) | (identity.hasPersistentIds ? kAliasPersistentIDs : 0u);
}

AliasRecord newRecord(const AliasTarget &target, const MountTable &mounts)
{
    static constexpr std::uint16_t kFixedDisk = 0;
    static constexpr std::uint16_t kEjectableDisk = 5;
    const AliasVolume volume = AliasVolume::of(target, mounts);
    const AliasIdentity &identity = target.identity;
    AliasRecord record;
    record.kind = target.isFolder ? AliasRecord::kFolder : AliasRecord::kFile;
    record.targetDate = macDate(identity.birth ? identity.birth->seconds : target.modified);
    const Result<AliasTarget> top = AliasTarget::examine(volume.mountPoint, mounts);
    if (top && top->identity.birth)
        record.volumeDate = macDate(top->identity.birth->seconds);
    record.signature = volume.signature;
    record.diskType = volume.isEjectable ? kEjectableDisk : kFixedDisk;
    record.parentID = std::uint32_t(inodeOf(target.path.parent_path()));
    record.targetID = std::uint32_t(identity.inode);
    record.volumeAttributes = attributesOf(volume, identity);
    record.reserved.assign(10, 0);
    setNames(record, target, volume);
    record.set(AliasTag::kVolumeDate, dateValue(record.volumeDate));
    record.set(AliasTag::kTargetDate, dateValue(record.targetDate));
    record.set(AliasTag::kIdentity, identity.encode());
    return record;
}

AliasRecord broughtUpToDate(const AliasRecord &old, const AliasTarget &target, const MountTable &mounts)
{
    AliasRecord record = newRecord(target, mounts);
    record.application = old.application;
    record.creator = old.creator;
    record.type = old.type;
    record.trailer = old.trailer;
    for (const AliasTag &tag : old.tags) {
        // The home's length is that of the path before the move.
        if (!record.find(tag.tag) && tag.tag != AliasTag::kHomePrefixLength)
            record.tags.push_back(tag);
    }
    return record;
}

void setLevels(AliasRecord &record, const Path &from, const Path &to)
{
    const auto [fromRest, toRest] = std::mismatch(from.begin(), from.end(), to.begin(), to.end());
    record.levelsFrom = std::int16_t(std::distance(fromRest, from.end()));
    record.levelsTo = std::int16_t(std::distance(toRest, to.end()));
}
