#include "Platform/Formats/AppleDouble.h"
#include "Platform/Formats/BigEndian.h"

static constexpr ByteCount kLargestOffset = 0xFFFFFFFF;

static Failure tooLarge(const std::string &what)
{
    return {ErrorCode::TooLarge, E2BIG, "companion: " + what};
}

static void padToFour(Bytes &bytes, std::size_t from)
{
    while ((bytes.size() - from) % 4 != 0)
        bytes.push_back(0);
}

/// Finder information, attribute table and values, as the one entry that holds them all; `offset` is its place.
static Result<Bytes> finderEntry(const AppleDoubleContent &content, std::size_t offset)
{
    Bytes entry(kFinderInformationSize);
    if (content.finderInformation)
        entry.assign(content.finderInformation->begin(), content.finderInformation->end());
    if (content.attributes.empty())
        return entry;
    constexpr std::size_t kTableOffset = kFinderInformationSize + kAttributesPadding + kAttributesHeaderSize;
    ByteCount dataStart = offset + kTableOffset;
    ByteCount dataLength = 0;
    for (const auto &attribute : content.attributes) {
        if (attribute.name.empty() || attribute.name.size() > kLongestAttributeName)
            return tooLarge("the attribute name " + attribute.name);
        dataStart += (kAttributeSize + attribute.name.size() + 1 + 3) / 4 * 4;
        dataLength += attribute.value.size();
    }
    if (dataStart - offset - kFinderInformationSize > kLargestAttributeTable || dataLength > kLargestOffset - dataStart)
        return tooLarge("the attributes");
    entry.reserve(std::size_t(dataStart + dataLength) - offset);
    entry.resize(kFinderInformationSize + kAttributesPadding);
    appendBigEndian(entry, kAttributesMagic);

    appendBigEndian(entry, std::uint32_t{0});
    appendBigEndian(entry, std::uint32_t(dataStart + dataLength));
    appendBigEndian(entry, std::uint32_t(dataStart));
    appendBigEndian(entry, std::uint32_t(dataLength));
    entry.resize(entry.size() + 12);
    appendBigEndian(entry, std::uint16_t{0});
    appendBigEndian(entry, std::uint16_t(content.attributes.size()));
    ByteCount valueOffset = dataStart;
    for (const auto &attribute : content.attributes) {
        appendBigEndian(entry, std::uint32_t(valueOffset));
        appendBigEndian(entry, std::uint32_t(attribute.value.size()));
        appendBigEndian(entry, std::uint16_t{0});
        entry.push_back(std::uint8_t(attribute.name.size() + 1));
        entry.insert(entry.end(), attribute.name.begin(), attribute.name.end());
        entry.push_back(0);
        padToFour(entry, kTableOffset);
        valueOffset += attribute.value.size();
    }
    for (const auto &attribute : content.attributes)
        entry.insert(entry.end(), attribute.value.begin(), attribute.value.end());
    return entry;
}

using Entries = std::vector<const AppleDoubleContent::Entry *>;

/// Header and table, in which the fork comes last if it has any length, and then what the entries hold.
static Result<Bytes> headOf(const Entries &entries, std::size_t count, ByteCount forkLength)
{
    Bytes head;
    appendBigEndian(head, kAppleDoubleMagic);
    appendBigEndian(head, kAppleDoubleVersion);
    head.resize(head.size() + 16);
    appendBigEndian(head, std::uint16_t(count));
    ByteCount offset = kAppleDoubleHeaderSize + count * kAppleDoubleEntrySize;
    for (const AppleDoubleContent::Entry *entry : entries) {
        if (entry->content.size() > kLargestOffset - offset)
            return tooLarge("its entries");
        appendBigEndian(head, entry->identifier);
        appendBigEndian(head, std::uint32_t(offset));
        appendBigEndian(head, std::uint32_t(entry->content.size()));
        offset += entry->content.size();
    }
    if (forkLength > kLargestOffset - offset)
        return tooLarge("the resource fork");
    if (forkLength > 0) {
        appendBigEndian(head, kResourceForkEntry);
        appendBigEndian(head, std::uint32_t(offset));
        appendBigEndian(head, std::uint32_t(forkLength));
    }
    head.reserve(std::size_t(offset));
    for (const AppleDoubleContent::Entry *entry : entries)
        head.insert(head.end(), entry->content.begin(), entry->content.end());
    return head;
}

Result<Bytes> appleDoubleHead(const AppleDoubleContent &content, ByteCount forkLength)
{
    const bool hasFinderEntry = content.finderInformation || !content.attributes.empty();
    const std::size_t count = content.others.size() + (hasFinderEntry ? 1 : 0) + (forkLength > 0 ? 1 : 0);
    AppleDoubleContent::Entry finder{kFinderInformationEntry, {}};
    Entries entries;
    if (hasFinderEntry) {
        Result<Bytes> entry = finderEntry(content, kAppleDoubleHeaderSize + count * kAppleDoubleEntrySize);
        if (!entry)
            return entry.failure();
        finder.content = std::move(*entry);
        entries.push_back(&finder);
    }
    for (const AppleDoubleContent::Entry &entry : content.others)
        entries.push_back(&entry);
    return headOf(entries, count, forkLength);
}
