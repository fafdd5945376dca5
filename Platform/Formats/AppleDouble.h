#pragma once

#include "Platform/FileSystem.h"

#include <array>

/// The companion file in which volumes without forks keep them: version 2, as Docs/Formats/AppleDouble.md tells it.

/// A stretch of the companion file that was found to lie within it.
struct ByteRange
{
    ByteCount offset = 0;
    ByteCount length = 0;
};

inline constexpr std::uint32_t kAppleDoubleMagic = 0x00051607;
inline constexpr std::uint32_t kAppleDoubleVersion = 0x00020000;
inline constexpr std::size_t kAppleDoubleHeaderSize = 26;
inline constexpr std::size_t kAppleDoubleEntrySize = 12;
inline constexpr std::uint32_t kResourceForkEntry = 2;
inline constexpr std::uint32_t kFinderInformationEntry = 9;
inline constexpr std::size_t kFinderInformationSize = 32;

// The table of attributes behind the Finder information.
inline constexpr std::uint32_t kAttributesMagic = 0x41545452; // 'ATTR'
inline constexpr std::size_t kAttributesPadding = 2;          // before the table
inline constexpr std::size_t kAttributesHeaderSize = 36;
inline constexpr std::size_t kAttributeSize = 11; // without the name
inline constexpr std::size_t kLongestAttributeName = 254;
inline constexpr ByteCount kLargestAttributeTable = ByteCount{64} << 10; // with its padding and header, as Macs have it

/// Where everything lies in a companion. Values are read when they are wanted, since a small file can claim many
/// overlapping large ones.
struct AppleDoubleLayout
{
    struct Attribute
    {
        std::string name;
        ByteRange value;
    };
    struct Entry
    {
        std::uint32_t identifier = 0;
        ByteRange content;
    };

    std::optional<ByteRange> resourceFork;
    std::optional<ByteRange> finderInformation; ///< its 32 bytes, without the attributes behind them
    std::vector<Attribute> attributes;          ///< in the order of the file, each name once
    std::vector<Entry> others;                  ///< the entries of other kinds
    bool isWhollyUnderstood = true;             ///< false when writing it anew would lose bytes

    const Attribute *attribute(const std::string &name) const;
};

/// Reads the layout. Errors: Corrupt when anything in it points outside the file or contradicts itself.
Result<AppleDoubleLayout> readAppleDouble(const ReadableFork &file);

/// What is to be written into a companion besides the resource fork.
struct AppleDoubleContent
{
    struct Attribute
    {
        std::string name;
        Bytes value;
    };
    struct Entry
    {
        std::uint32_t identifier = 0;
        Bytes content;
    };

    std::optional<std::array<std::uint8_t, kFinderInformationSize>> finderInformation;
    std::vector<Attribute> attributes;
    std::vector<Entry> others;

    bool isEmpty() const { return !finderInformation && attributes.empty() && others.empty(); }
};

/// Everything of the companion up to the resource fork, which follows at once and has `forkLength` bytes (with 0 the
/// file has no such entry). Errors: TooLarge when a name, a value or the whole exceeds what the format can say.
Result<Bytes> appleDoubleHead(const AppleDoubleContent &content, ByteCount forkLength);
