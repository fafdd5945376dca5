#include "Platform/Formats/Unicode.h"
#include "Platform/PropertyListFormats.h"

#include <algorithm>
#include <bit>
#include <cmath>

static constexpr std::size_t kMostAtOnce = 4096; // of the elements that an array claims to have, room is made for

using namespace PropertyListFormats;

namespace {

constexpr std::size_t kTrailerSize = 32;

std::uint64_t bigEndian(ByteView bytes)
{
    std::uint64_t value = 0;
    for (const std::uint8_t byte : bytes)
        value = value << 8 | byte;
    return value;
}

/// Reads the objects from the root on. Each byte belongs to one object at most, and an array or a dictionary to one
/// other at most; so there are no circles, and what is read is no larger than the budgets.
class BinaryReader
{
public:
    explicit BinaryReader(ByteView bytes)
        : m_bytes(bytes)
    {
    }

    Result<PropertyList> read()
    {
        if (Result<void> opened = readTrailer(); !opened)
            return opened.failure();
        Result<PropertyList> list = object(m_root, 0);
        if (!list)
            return list;
        std::sort(m_ranges.begin(), m_ranges.end());
        for (std::size_t i = 1; i < m_ranges.size(); ++i) {
            if (m_ranges[i].first < m_ranges[i - 1].second)
                return corrupt("objects that overlap", m_ranges[i].first);
        }
        return list;
    }

private:
    /// Where the content of an object lies, or its references.
    struct Extent
    {
        std::size_t begin;
        std::size_t count; ///< of bytes, UTF-16 units, elements or entries
    };

    Result<void> readTrailer()
    {
        if (m_bytes.size() < kBinaryMagic.size() + kTrailerSize)
            return corrupt("cut off", m_bytes.size());
        if (!std::equal(kBinaryMagic.begin(), kBinaryMagic.end(), m_bytes.begin()))
            return corrupt("an unknown version", 0);
        const std::size_t at = m_bytes.size() - kTrailerSize;
        m_offsetSize = m_bytes[at + 6];
        m_referenceSize = m_bytes[at + 7];
        const std::uint64_t count = number(at + 8, 8);
        m_root = number(at + 16, 8);
        const std::uint64_t table = number(at + 24, 8);
        if (m_offsetSize < 1 || m_offsetSize > 8 || m_referenceSize < 1 || m_referenceSize > 8)
            return corrupt("impossible sizes", at + 6);
        if (count > 2 * kMaximumValues) // a key for each value
            return failureAt(ErrorCode::TooLarge, "more than 2,000,000 objects", at + 8);
        if (m_root >= count)
            return corrupt("no root", at + 16);
        if (table < kBinaryMagic.size() || table > at || at - table != count * m_offsetSize)
            return corrupt("a misplaced offset table", at + 24);
        m_table = std::size_t(table);
        m_isRead.assign(std::size_t(count), false);
        return {};
    }

    std::uint64_t number(std::size_t at, std::size_t size) const { return bigEndian(m_bytes.subspan(at, size)); }

    Result<PropertyList> object(std::uint64_t reference, std::size_t depth)
    {
        const std::uint64_t offset = number(m_table + std::size_t(reference) * m_offsetSize, m_offsetSize);
        if (offset < kBinaryMagic.size() || offset >= m_table)
            return corrupt("an object outside the list", m_table + std::size_t(reference) * m_offsetSize);
        const std::size_t at = std::size_t(offset);
        if (++m_values > kMaximumValues)
            return failureAt(ErrorCode::TooLarge, "more than 1,000,000 values", at);
        const std::uint8_t marker = m_bytes[at];
        switch (marker >> 4) {
        case 0x0:
            if (marker != 0x08 && marker != 0x09)
                break;
            take(reference, at, at + 1);
            return PropertyList(marker == 0x09);
        case 0x1:
            return integer(reference, at);
        case 0x2:
        case 0x3:
            return real(reference, at);
        case 0x4:
        case 0x5:
        case 0x6:
            return text(reference, at);
        case 0xA:
        case 0xD:
            return container(reference, at, depth);
        }
        return corrupt("an unknown kind of object", at);
    }

    /// Notes the bytes of an object the first time it is met.
    void take(std::uint64_t reference, std::size_t begin, std::size_t end)
    {
        if (!m_isRead[std::size_t(reference)])
            m_ranges.emplace_back(begin, end);
        m_isRead[std::size_t(reference)] = true;
    }

    bool isInside(std::size_t begin, std::size_t size) const { return begin <= m_table && size <= m_table - begin; }

    Result<PropertyList> integer(std::uint64_t reference, std::size_t at)
    {
        const unsigned exponent = m_bytes[at] & 0xFu;
        const std::size_t size = std::size_t(1) << exponent;
        if (exponent > 4 || !isInside(at + 1, size))
            return corrupt("a malformed integer", at);
        take(reference, at, at + 1 + size);
        const std::uint64_t low = number(at + 1 + (size == 16 ? 8 : 0), std::min<std::size_t>(size, 8));
        const bool isHigh = low >> 63;
        if (size < 8)
            return PropertyList(low);
        const std::uint64_t high = size == 8 ? (isHigh ? ~std::uint64_t(0) : 0) : number(at + 1, 8);
        if (high != 0 && (high != ~std::uint64_t(0) || !isHigh))
            return corrupt("an integer out of range", at);
        return PropertyList(PropertyListInteger{low, high != 0});
    }

    Result<PropertyList> real(std::uint64_t reference, std::size_t at)
    {
        const std::uint8_t marker = m_bytes[at];
        const std::size_t size = marker == 0x22 ? 4 : 8;
        if ((marker != 0x22 && marker != 0x23 && marker != 0x33) || !isInside(at + 1, size))
            return corrupt("a malformed real or date", at);
        take(reference, at, at + 1 + size);
        const std::uint64_t bits = number(at + 1, size);
        const double value =
            size == 4 ? double(std::bit_cast<float>(std::uint32_t(bits))) : std::bit_cast<double>(bits);
        if (marker != 0x33)
            return PropertyList(value);
        if (!std::isfinite(value))
            return corrupt("a malformed date", at);
        return PropertyList(PropertyListDate{value});
    }

    /// The count in the low nibble of the marker or, where that is 15, in the integer behind it; `size` bytes each.
    Result<Extent> extent(std::size_t at, std::size_t size) const
    {
        std::size_t begin = at + 1;
        std::uint64_t count = m_bytes[at] & 0xFu;
        if (count == 0xF) {
            if (!isInside(begin, 1) || (m_bytes[begin] & 0xFC) != 0x10)
                return corrupt("a malformed length", at);
            const std::size_t width = std::size_t(1) << (m_bytes[begin] & 0x3u);
            if (!isInside(begin + 1, width))
                return corrupt("a malformed length", at);
            count = number(begin + 1, width);
            begin += 1 + width;
        }
        if (begin > m_table || count > (m_table - begin) / size)
            return corrupt("a length that exceeds the list", at);
        return Extent{begin, std::size_t(count)};
    }

    /// Data and strings. They may be shared, so what they take in memory is counted each time.
    Result<PropertyList> text(std::uint64_t reference, std::size_t at)
    {
        const unsigned kind = m_bytes[at] >> 4;
        const std::size_t unit = kind == 0x6 ? 2 : 1;
        const Result<Extent> found = extent(at, unit);
        if (!found)
            return found.failure();
        const ByteView content = m_bytes.subspan(found->begin, found->count * unit);
        take(reference, at, found->begin + content.size());
        if (content.size() > kMaximumBytes - m_content)
            return failureAt(ErrorCode::TooLarge, "more than 64 MiB of text and data", at);
        m_content += content.size();
        if (kind == 0x4)
            return PropertyList(Bytes(content.begin(), content.end()));
        if (kind == 0x6) {
            std::optional<std::string> string = Unicode::utf8FromUtf16(content);
            return string ? Result<PropertyList>(std::move(*string)) : corrupt("malformed UTF-16", at);
        }
        if (std::any_of(content.begin(), content.end(), [](std::uint8_t byte) { return byte > 0x7F; }))
            return corrupt("malformed ASCII", at);
        return PropertyList(stringOf(content));
    }

    Result<PropertyList> container(std::uint64_t reference, std::size_t at, std::size_t depth)
    {
        const bool isDictionary = m_bytes[at] >> 4 == 0xD;
        if (depth == kMaximumDepth)
            return failureAt(ErrorCode::TooLarge, "more than 64 levels", at);
        if (m_isRead[std::size_t(reference)])
            return corrupt("an array or dictionary with two owners", at);
        const std::size_t references = isDictionary ? 2 : 1;
        const Result<Extent> found = extent(at, references * m_referenceSize);
        if (!found)
            return found.failure();
        if (found->count > kMaximumValues - m_values)
            return failureAt(ErrorCode::TooLarge, "more than 1,000,000 values", at);
        take(reference, at, found->begin + found->count * references * m_referenceSize);
        return isDictionary ? dictionary(*found, depth, at) : array(*found, depth);
    }

    /// The object that the reference at `at` names.
    Result<PropertyList> referred(std::size_t at, std::size_t depth)
    {
        const std::uint64_t reference = number(at, m_referenceSize);
        return reference < m_isRead.size() ? object(reference, depth) : corrupt("a reference to no object", at);
    }

    Result<PropertyList> array(const Extent &extent, std::size_t depth)
    {
        PropertyList::Array array;
        array.reserve(std::min(extent.count, kMostAtOnce));
        for (std::size_t i = 0; i < extent.count; ++i) {
            Result<PropertyList> element = referred(extent.begin + i * m_referenceSize, depth + 1);
            if (!element)
                return element;
            array.push_back(*std::move(element));
        }
        return PropertyList(std::move(array));
    }

    Result<PropertyList> dictionary(const Extent &extent, std::size_t depth, std::size_t at)
    {
        PropertyList::Dictionary dictionary;
        dictionary.reserve(std::min(extent.count, kMostAtOnce));
        for (std::size_t i = 0; i < extent.count; ++i) {
            const std::size_t place = extent.begin + i * m_referenceSize;
            Result<PropertyList> key = referred(place, depth + 1);
            if (!key)
                return key;
            --m_values; // keys do not count
            if (!key->as<std::string>())
                return corrupt("a key that is no string", place);
            Result<PropertyList> value = referred(place + extent.count * m_referenceSize, depth + 1);
            if (!value)
                return value;
            dictionary.emplace_back(std::move(*key->as<std::string>()), *std::move(value));
        }
        if (hasEqualKeys(dictionary))
            return corrupt("two equal keys in a dictionary", at);
        return PropertyList(std::move(dictionary));
    }

    ByteView m_bytes;
    std::size_t m_offsetSize = 0;
    std::size_t m_referenceSize = 0;
    std::uint64_t m_root = 0;
    std::size_t m_table = 0; ///< start of the offset table, which is the end of the objects
    std::vector<bool> m_isRead;
    std::vector<std::pair<std::size_t, std::size_t>> m_ranges;
    std::size_t m_values = 0;
    std::size_t m_content = 0;
};

} // namespace

Result<PropertyList> PropertyListFormats::readBinary(ByteView bytes)
{
    return BinaryReader(bytes).read();
}
