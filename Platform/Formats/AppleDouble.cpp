#include "Platform/Formats/AppleDouble.h"

#include "Platform/Formats/BigEndian.h"

#include <algorithm>
#include <set>

static constexpr std::size_t kMostEntries = 64;

static Failure corrupt(const std::string &what)
{
    return {ErrorCode::Corrupt, 0, "companion: " + what};
}

static bool isWithin(const ByteRange &range, ByteCount size)
{
    return range.offset <= size && range.length <= size - range.offset;
}

static std::size_t paddedToFour(std::size_t size)
{
    return (size + 3) / 4 * 4;
}

const AppleDoubleLayout::Attribute *AppleDoubleLayout::attribute(const std::string &name) const
{
    const auto found =
        std::find_if(attributes.begin(), attributes.end(), [&](const auto &each) { return each.name == name; });
    return found == attributes.end() ? nullptr : &*found;
}

static Result<Bytes> readExactly(const ReadableFork &file, const ByteRange &range)
{
    Bytes bytes(range.length);
    const Result<std::size_t> got = file.readAt(range.offset, bytes);
    if (!got)
        return got.failure();
    if (*got != bytes.size())
        return corrupt("it ends too early");
    return bytes;
}

/// Reads the next attribute of the table, and whether it has flags, and passes over its padding.
static Result<AppleDoubleLayout::Attribute> readAttribute(BigEndianReader &table, ByteCount fileSize, bool &hasFlags)
{
    AppleDoubleLayout::Attribute attribute;
    attribute.value.offset = table.read<std::uint32_t>();
    attribute.value.length = table.read<std::uint32_t>();
    hasFlags = table.read<std::uint16_t>() != 0;
    const std::size_t nameLength = table.read<std::uint8_t>();
    const ByteView name = table.take(nameLength);
    if (!table.isGood() || name.size() < 2)
        return corrupt("an attribute has no room");
    attribute.name = stringOf(name.first(nameLength - 1));
    if (name.back() != 0 || attribute.name.find('\0') != std::string::npos)
        return corrupt("an attribute's name does not end where it says");
    if (!isWithin(attribute.value, fileSize))
        return corrupt("an attribute's value lies outside");
    const std::size_t size = kAttributeSize + nameLength;
    table.take(std::min(paddedToFour(size) - size, table.remaining()));
    return attribute;
}

/// Reads what stands behind the Finder information: nothing, zeros, or the table of attributes.
static Result<void> readAttributes(const ReadableFork &file, ByteRange tail, AppleDoubleLayout &layout)
{
    const Result<Bytes> bytes = readExactly(file, {tail.offset, std::min(tail.length, kLargestAttributeTable)});
    if (!bytes)
        return bytes.failure();
    BigEndianReader table(*bytes);
    table.take(kAttributesPadding);
    if (table.read<std::uint32_t>() != kAttributesMagic) {
        layout.isWhollyUnderstood = bytes->size() == tail.length &&
                                    std::all_of(bytes->begin(), bytes->end(), [](auto byte) { return byte == 0; });
        return {};
    }
    // Debug tag, total size, data start, data length, reserved and flags: every value says itself where it lies.
    table.take(kAttributesHeaderSize - sizeof(std::uint32_t) - sizeof(std::uint16_t));
    const std::size_t count = table.read<std::uint16_t>();
    if (!table.isGood())
        return corrupt("its attributes have no room for their header");
    std::set<std::string> names;
    for (std::size_t index = 0; index < count; ++index) {
        bool hasFlags = false;
        Result<AppleDoubleLayout::Attribute> attribute = readAttribute(table, file.size(), hasFlags);
        if (!attribute)
            return attribute.failure();
        if (hasFlags) // which would be lost
            layout.isWhollyUnderstood = false;
        if (!names.insert(attribute->name).second)
            return corrupt("two attributes have one name");
        layout.attributes.push_back(std::move(*attribute));
    }
    return {};
}

static Result<void> takeEntry(const ReadableFork &file, std::uint32_t identifier, ByteRange content,
                              AppleDoubleLayout &layout)
{
    if (identifier == kResourceForkEntry) {
        if (layout.resourceFork)
            return corrupt("it has two resource forks");
        layout.resourceFork = content;
    } else if (identifier == kFinderInformationEntry) {
        if (layout.finderInformation)
            return corrupt("it has Finder information twice");
        if (content.length < kFinderInformationSize)
            return corrupt("its Finder information is too short");
        layout.finderInformation = {content.offset, kFinderInformationSize};
        return readAttributes(file, {content.offset + kFinderInformationSize, content.length - kFinderInformationSize},
                              layout);
    } else {
        layout.others.push_back({identifier, content});
    }
    return {};
}

Result<AppleDoubleLayout> readAppleDouble(const ReadableFork &file)
{
    if (file.size() < kAppleDoubleHeaderSize)
        return corrupt("it is shorter than its header");
    const Result<Bytes> headerBytes = readExactly(file, {0, kAppleDoubleHeaderSize});
    if (!headerBytes)
        return headerBytes.failure();
    BigEndianReader header(*headerBytes);
    if (header.read<std::uint32_t>() != kAppleDoubleMagic || header.read<std::uint32_t>() != kAppleDoubleVersion)
        return corrupt("it is no AppleDouble file of version 2");
    header.take(16); // filler
    const std::size_t count = header.read<std::uint16_t>();
    if (count > kMostEntries || count > (file.size() - kAppleDoubleHeaderSize) / kAppleDoubleEntrySize)
        return corrupt("it has no room for its entries");
    const Result<Bytes> tableBytes = readExactly(file, {kAppleDoubleHeaderSize, count * kAppleDoubleEntrySize});
    if (!tableBytes)
        return tableBytes.failure();
    BigEndianReader table(*tableBytes);
    AppleDoubleLayout layout;
    for (std::size_t index = 0; index < count; ++index) {
        const std::uint32_t identifier = table.read<std::uint32_t>();
        ByteRange content;
        content.offset = table.read<std::uint32_t>();
        content.length = table.read<std::uint32_t>();
        if (!isWithin(content, file.size()))
            return corrupt("an entry lies outside");
        if (const Result<void> taken = takeEntry(file, identifier, content, layout); !taken)
            return taken.failure();
    }
    return layout;
}
