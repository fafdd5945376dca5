#include "Platform/Formats/Unicode.h"
#include "Platform/PropertyListFormats.h"

#include <bit>
#include <unordered_map>

using namespace PropertyListFormats;

namespace {

/// The fewest bytes, of those that readers know, that hold `value`.
std::size_t widthFor(std::uint64_t value)
{
    return value <= 0xFF ? 1 : value <= 0xFFFF ? 2 : value <= 0xFFFFFFFF ? 4 : 8;
}

void append(Bytes &bytes, std::uint64_t value, std::size_t size)
{
    for (std::size_t i = size; i-- > 0;)
        bytes.push_back(std::uint8_t(value >> (8 * i)));
}

void appendMarker(Bytes &bytes, unsigned kind, std::uint64_t count)
{
    bytes.push_back(std::uint8_t(kind << 4 | std::min<std::uint64_t>(count, 0xF)));
    if (count < 0xF)
        return;
    const std::size_t width = widthFor(count);
    bytes.push_back(std::uint8_t(0x10 + std::countr_zero(width)));
    append(bytes, count, width);
}

/// Numbers the objects from the root on, then writes them. Equal strings are one object.
class BinaryWriter
{
public:
    Bytes write(const PropertyList &list)
    {
        number(list);
        m_referenceSize = widthFor(m_objects.size());
        Bytes bytes(kBinaryMagic.begin(), kBinaryMagic.end());
        std::vector<std::size_t> offsets;
        for (const Object &object : m_objects) {
            offsets.push_back(bytes.size());
            if (object.key)
                put(bytes, *object.key, object);
            else
                object.value->visit([&](const auto &value) { put(bytes, value, object); });
        }
        const std::size_t table = bytes.size();
        const std::size_t offsetSize = widthFor(table);
        for (const std::size_t offset : offsets)
            append(bytes, offset, offsetSize);
        append(bytes, 0, 6);
        append(bytes, offsetSize, 1);
        append(bytes, m_referenceSize, 1);
        append(bytes, m_objects.size(), 8);
        append(bytes, 0, 8);
        append(bytes, table, 8);
        return bytes;
    }

private:
    struct Object
    {
        const PropertyList *value;
        const std::string *key;              ///< instead of a value
        std::vector<std::size_t> references; ///< of a container: keys first, then values
    };

    std::size_t number(const PropertyList &list)
    {
        if (const auto *const text = list.as<std::string>())
            return number(*text);
        const std::size_t index = m_objects.size();
        m_objects.push_back({&list, nullptr, {}});
        std::vector<std::size_t> references;
        if (const auto *const array = list.as<PropertyList::Array>()) {
            for (const PropertyList &element : *array)
                references.push_back(number(element));
        }
        if (const auto *const dictionary = list.as<PropertyList::Dictionary>()) {
            for (const auto &[key, value] : *dictionary)
                references.push_back(number(key));
            for (const auto &[key, value] : *dictionary)
                references.push_back(number(value));
        }
        m_objects[index].references = std::move(references);
        return index;
    }

    std::size_t number(const std::string &text)
    {
        const auto [place, isNew] = m_strings.try_emplace(text, m_objects.size());
        if (isNew)
            m_objects.push_back({nullptr, &text, {}});
        return place->second;
    }

    static void put(Bytes &bytes, bool value, const Object &) { bytes.push_back(value ? 0x09 : 0x08); }

    static void put(Bytes &bytes, const PropertyListInteger &value, const Object &)
    {
        const bool needsSixteen = !value.isNegative && value.bits >> 63;
        const std::size_t width = value.isNegative ? 8 : widthFor(value.bits);
        bytes.push_back(std::uint8_t(needsSixteen ? 0x14 : 0x10 + std::countr_zero(width)));
        append(bytes, 0, needsSixteen ? 8 : 0);
        append(bytes, value.bits, width);
    }

    static void put(Bytes &bytes, double value, const Object &)
    {
        bytes.push_back(0x23);
        append(bytes, std::bit_cast<std::uint64_t>(value), 8);
    }

    static void put(Bytes &bytes, const PropertyListDate &value, const Object &)
    {
        bytes.push_back(0x33);
        append(bytes, std::bit_cast<std::uint64_t>(value.seconds), 8);
    }

    static void put(Bytes &bytes, const std::string &value, const Object &)
    {
        const bool isAscii = std::none_of(value.begin(), value.end(), [](char c) { return c < 0; });
        const Bytes content = isAscii ? bytesOf(value) : Unicode::utf16FromUtf8(value);
        appendMarker(bytes, isAscii ? 0x5 : 0x6, isAscii ? content.size() : content.size() / 2);
        bytes.insert(bytes.end(), content.begin(), content.end());
    }

    static void put(Bytes &bytes, const Bytes &value, const Object &)
    {
        appendMarker(bytes, 0x4, value.size());
        bytes.insert(bytes.end(), value.begin(), value.end());
    }

    void put(Bytes &bytes, const PropertyList::Array &value, const Object &object) const
    {
        appendMarker(bytes, 0xA, value.size());
        putReferences(bytes, object);
    }

    void put(Bytes &bytes, const PropertyList::Dictionary &value, const Object &object) const
    {
        appendMarker(bytes, 0xD, value.size());
        putReferences(bytes, object);
    }

    void putReferences(Bytes &bytes, const Object &object) const
    {
        for (const std::size_t reference : object.references)
            append(bytes, reference, m_referenceSize);
    }

    std::vector<Object> m_objects;
    std::unordered_map<std::string_view, std::size_t> m_strings;
    std::size_t m_referenceSize = 1;
};

} // namespace

Result<Bytes> PropertyList::toBinary() const
{
    if (Result<void> checked = checkWritable(*this); !checked)
        return checked.failure();
    Bytes bytes = BinaryWriter().write(*this);
    if (bytes.size() > kMaximumBytes)
        return Failure{ErrorCode::TooLarge, 0, "property list: more than 64 MiB"};
    return bytes;
}
