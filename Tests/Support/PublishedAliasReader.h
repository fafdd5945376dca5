#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

/// An alias record of version 2 as anybody reads it who knows the published layout and nothing else: by offsets, with
/// nothing of ours. Any other reader is more lenient.
class PublishedAliasReader final
{
public:
    /// Nothing where the record is not as the layout has it: another size than it states, names longer than their
    /// fields, a tag that reaches behind the end, no final tag, or bytes behind it.
    static std::optional<PublishedAliasReader> read(std::span<const std::uint8_t> record)
    {
        PublishedAliasReader reader{std::string(record.begin(), record.end())};
        const bool isWhole = reader.m_bytes.size() >= kFixedPart && reader.number(4, 2) == reader.m_bytes.size() &&
                             reader.number(6, 2) == 2 && reader.number(10, 1) <= 27 && reader.number(50, 1) <= 63;
        return isWhole && reader.readTags() ? std::optional(reader) : std::nullopt;
    }

    bool isFolder() const { return number(8, 2) == 1; }
    std::string oldVolumeName() const { return m_bytes.substr(11, number(10, 1)); } ///< Mac Roman
    std::uint32_t volumeDate() const { return number(38, 4); }                      ///< seconds since 1904
    std::string signature() const { return m_bytes.substr(42, 2); }
    std::uint32_t diskType() const { return number(44, 2); }
    std::uint32_t parentFolderID() const { return number(46, 4); }
    std::string oldTargetName() const { return m_bytes.substr(51, number(50, 1)); } ///< Mac Roman
    std::uint32_t targetID() const { return number(114, 4); }
    std::uint32_t targetDate() const { return number(118, 4); } ///< seconds since 1904
    std::string creatorAndType() const { return m_bytes.substr(122, 8); }
    int levelsFrom() const { return std::int16_t(number(130, 2)); }
    int levelsTo() const { return std::int16_t(number(132, 2)); }
    std::uint32_t fileSystemID() const { return number(138, 2); }
    std::string reserved() const { return m_bytes.substr(140, 10); }

    /// How often the tag is there.
    int count(int tag) const
    {
        int count = 0;
        for (const auto &[number, value] : m_tags)
            count += number == tag ? 1 : 0;
        return count;
    }

    /// The value of the first such tag, empty where there is none.
    std::string tag(int wanted) const
    {
        for (const auto &[number, value] : m_tags) {
            if (number == wanted)
                return value;
        }
        return {};
    }

    /// A name whose value begins with the number of its UTF-16 units; nothing when that is not their number.
    std::optional<std::u16string> name(int wanted) const
    {
        const std::string value = tag(wanted);
        if (value.size() < 2 || value.size() != 2 + 2 * numberIn(value, 0, 2))
            return std::nullopt;
        std::u16string name;
        for (std::size_t at = 2; at < value.size(); at += 2)
            name += char16_t(numberIn(value, at, 2));
        return name;
    }

    /// The 4-byte numbers of which the value consists.
    std::vector<std::uint32_t> numbers(int wanted) const
    {
        const std::string value = tag(wanted);
        std::vector<std::uint32_t> numbers;
        for (std::size_t at = 0; at + 4 <= value.size(); at += 4)
            numbers.push_back(numberIn(value, at, 4));
        return numbers;
    }

    /// The whole seconds of a date of 8 bytes in 1/65536 s.
    std::uint64_t seconds(int wanted) const
    {
        const std::string value = tag(wanted);
        return value.size() == 8 ? (std::uint64_t(numberIn(value, 0, 4)) << 16) + numberIn(value, 4, 2) : 0;
    }

    std::string fullPath() const
    {
        const std::string mountPoint = tag(19);
        return mountPoint + (mountPoint.ends_with('/') ? "" : "/") + tag(18);
    }

private:
    static constexpr std::size_t kFixedPart = 150;

    explicit PublishedAliasReader(std::string bytes)
        : m_bytes(std::move(bytes))
    {
    }

    static std::uint32_t numberIn(const std::string &bytes, std::size_t at, std::size_t size)
    {
        std::uint32_t number = 0;
        for (std::size_t index = at; index < at + size; ++index)
            number = number << 8 | std::uint8_t(bytes[index]);
        return number;
    }
    std::uint32_t number(std::size_t at, std::size_t size) const { return numberIn(m_bytes, at, size); }

    bool readTags()
    {
        for (std::size_t at = kFixedPart; m_bytes.size() - at >= 4;) {
            const int tag = std::int16_t(number(at, 2));
            const std::size_t length = number(at + 2, 2);
            at += 4;
            if (tag == -1)
                return length == 0 && at == m_bytes.size();
            if (m_bytes.size() - at < length + length % 2)
                return false;
            m_tags.emplace_back(tag, m_bytes.substr(at, length));
            at += length + length % 2;
        }
        return false;
    }

    std::string m_bytes;
    std::vector<std::pair<int, std::string>> m_tags;
};
