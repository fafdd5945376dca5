#include "Platform/Formats/AliasRecord.h"

#include "Platform/Formats/BigEndian.h"
#include "Platform/Formats/MacText.h"

#include <algorithm>

static constexpr std::size_t kHeadLength = 8;
static constexpr std::size_t kFixedLength2 = 150;
static constexpr std::size_t kFixedLength3 = 58;
static constexpr std::size_t kLongestVolumeName = 27;
static constexpr std::size_t kLongestTargetName = 63;
static constexpr std::size_t kReservedLength2 = 10;
static constexpr std::size_t kReservedLength3 = 14;
static constexpr std::int16_t kEnd = -1;

static Failure corrupt(const std::string &what, std::size_t offset)
{
    return {ErrorCode::Corrupt, 0, "alias record: " + what + " at " + std::to_string(offset)};
}

/// A length byte and room for `longest` characters. Nothing when the length says more.
static std::optional<std::string> readName(BigEndianReader &reader, std::size_t longest)
{
    const std::uint8_t length = reader.read<std::uint8_t>();
    const ByteView field = reader.take(longest);
    if (length > field.size())
        return std::nullopt;
    return MacText::fromMacRoman(field.first(length));
}

static void appendName(Bytes &bytes, const std::string &name, std::size_t longest)
{
    Bytes field = MacText::toMacRoman(name, longest);
    bytes.push_back(std::uint8_t(field.size()));
    field.resize(longest);
    bytes.insert(bytes.end(), field.begin(), field.end());
}

static Bytes copyOf(ByteView view)
{
    return Bytes(view.begin(), view.end());
}

static Result<void> readFixedPart2(BigEndianReader &reader, AliasRecord &record)
{
    record.kind = reader.read<std::uint16_t>();
    const std::optional<std::string> volumeName = readName(reader, kLongestVolumeName);
    if (!volumeName)
        return corrupt("volume name is too long", kHeadLength + reader.position());
    record.oldVolumeName = *volumeName;
    record.volumeDate = std::uint64_t(reader.read<std::uint32_t>()) << 16;
    record.signature = reader.read<std::uint16_t>();
    record.diskType = reader.read<std::uint16_t>();
    record.parentID = reader.read<std::uint32_t>();
    const std::optional<std::string> targetName = readName(reader, kLongestTargetName);
    if (!targetName)
        return corrupt("target name is too long", kHeadLength + reader.position());
    record.oldTargetName = *targetName;
    record.targetID = reader.read<std::uint32_t>();
    record.targetDate = std::uint64_t(reader.read<std::uint32_t>()) << 16;
    record.creator = reader.read<std::uint32_t>();
    record.type = reader.read<std::uint32_t>();
    record.levelsFrom = std::int16_t(reader.read<std::uint16_t>());
    record.levelsTo = std::int16_t(reader.read<std::uint16_t>());
    record.volumeAttributes = reader.read<std::uint32_t>();
    record.fileSystemID = reader.read<std::uint16_t>();
    record.reserved = copyOf(reader.take(kReservedLength2));
    return {};
}

static void readFixedPart3(BigEndianReader &reader, AliasRecord &record)
{
    record.kind = reader.read<std::uint16_t>();
    record.volumeDate = reader.read<std::uint64_t>();
    record.signature = reader.read<std::uint16_t>();
    record.fileSystemID = reader.read<std::uint16_t>();
    record.diskType = reader.read<std::uint16_t>();
    record.parentID = reader.read<std::uint32_t>();
    record.targetID = reader.read<std::uint32_t>();
    record.targetDate = reader.read<std::uint64_t>();
    record.volumeAttributes = reader.read<std::uint32_t>();
    record.reserved = copyOf(reader.take(kReservedLength3));
}

/// The tags up to the end mark or the end of the record, which old records reach without one.
static Result<void> readTags(BigEndianReader &reader, AliasRecord &record)
{
    while (reader.remaining() >= 2) {
        const std::int16_t tag = std::int16_t(reader.read<std::uint16_t>());
        if (tag == kEnd)
            break;
        const std::size_t start = reader.position();
        const std::uint16_t length = reader.read<std::uint16_t>();
        Bytes value = copyOf(reader.take(length));
        if (!reader.isGood())
            return corrupt("tag " + std::to_string(tag) + " ends behind the record", start);
        if (length % 2 != 0 && reader.remaining() > 0)
            reader.take(1);
        record.tags.push_back({tag, std::move(value)});
    }
    return {};
}

Result<AliasRecord> AliasRecord::parse(ByteView bytes)
{
    BigEndianReader head(bytes.first(std::min(bytes.size(), kHeadLength)));
    AliasRecord record;
    record.application = head.read<std::uint32_t>();
    const std::size_t size = head.read<std::uint16_t>();
    const std::uint16_t version = head.read<std::uint16_t>();
    if (!head.isGood())
        return corrupt("no head", bytes.size());
    if (version != 2 && version != 3)
        return corrupt("unknown version " + std::to_string(version), 6);
    if (size > bytes.size() || size < (version == 2 ? kFixedLength2 : kFixedLength3))
        return corrupt("impossible size " + std::to_string(size), 4);

    BigEndianReader reader(bytes.first(size).subspan(kHeadLength));
    if (version == 2) {
        const Result<void> read = readFixedPart2(reader, record);
        if (!read)
            return read.failure();
    } else {
        readFixedPart3(reader, record);
    }
    const Result<void> read = readTags(reader, record);
    if (!read)
        return read.failure();
    record.trailer = copyOf(bytes.subspan(size));
    return record;
}

static std::uint32_t wholeSeconds(std::uint64_t date)
{
    return std::uint32_t(std::min<std::uint64_t>(date >> 16, UINT32_MAX));
}

Result<Bytes> AliasRecord::encode() const
{
    Bytes bytes;
    appendBigEndian(bytes, application);
    appendBigEndian(bytes, std::uint16_t(0)); // the size, once it is known
    appendBigEndian(bytes, std::uint16_t(2));
    appendBigEndian(bytes, kind);
    appendName(bytes, oldVolumeName, kLongestVolumeName);
    appendBigEndian(bytes, wholeSeconds(volumeDate));
    appendBigEndian(bytes, signature);
    appendBigEndian(bytes, diskType);
    appendBigEndian(bytes, parentID);
    appendName(bytes, oldTargetName, kLongestTargetName);
    appendBigEndian(bytes, targetID);
    appendBigEndian(bytes, wholeSeconds(targetDate));
    appendBigEndian(bytes, creator);
    appendBigEndian(bytes, type);
    appendBigEndian(bytes, std::uint16_t(levelsFrom));
    appendBigEndian(bytes, std::uint16_t(levelsTo));
    appendBigEndian(bytes, volumeAttributes);
    appendBigEndian(bytes, fileSystemID);
    Bytes rest = reserved;
    rest.resize(kReservedLength2);
    bytes.insert(bytes.end(), rest.begin(), rest.end());

    for (const auto &[tag, value] : tags) {
        if (value.size() > UINT16_MAX)
            return Failure{ErrorCode::TooLarge, 0, "alias record: tag " + std::to_string(tag)};
        appendBigEndian(bytes, std::uint16_t(tag));
        appendBigEndian(bytes, std::uint16_t(value.size()));
        bytes.insert(bytes.end(), value.begin(), value.end());
        if (value.size() % 2 != 0)
            bytes.push_back(0);
    }
    appendBigEndian(bytes, std::uint16_t(kEnd));
    appendBigEndian(bytes, std::uint16_t(0));
    if (bytes.size() > UINT16_MAX)
        return Failure{ErrorCode::TooLarge, 0, "alias record of " + std::to_string(bytes.size()) + " bytes"};
    bytes[4] = std::uint8_t(bytes.size() >> 8);
    bytes[5] = std::uint8_t(bytes.size());
    bytes.insert(bytes.end(), trailer.begin(), trailer.end());
    return bytes;
}

const Bytes *AliasRecord::find(std::int16_t tag) const
{
    const auto found = std::find_if(tags.begin(), tags.end(), [&](const AliasTag &each) { return each.tag == tag; });
    return found == tags.end() ? nullptr : &found->value;
}

void AliasRecord::set(std::int16_t tag, Bytes value)
{
    const auto found = std::find_if(tags.begin(), tags.end(), [&](const AliasTag &each) { return each.tag == tag; });
    if (found == tags.end())
        tags.push_back({tag, std::move(value)});
    else
        found->value = std::move(value);
}
