#pragma once

#include "Platform/PropertyList.h"

#include <algorithm>
#include <string_view>
#include <vector>

/// What the readers and writers of the two forms share. No part of the seam: include PropertyList.h.
namespace PropertyListFormats {

constexpr std::size_t kMaximumBytes = 64u << 20;  ///< of a list as it is stored, and of all its text and data in memory
constexpr std::size_t kMaximumDepth = 64;         ///< containers around a value, itself included
constexpr std::size_t kMaximumValues = 1'000'000; ///< containers included, keys not

constexpr std::string_view kBinaryMagic = "bplist00";

inline Failure failureAt(ErrorCode code, const std::string &what, std::size_t offset)
{
    return {code, 0, "property list: " + what + " at offset " + std::to_string(offset)};
}

inline Failure corrupt(const std::string &what, std::size_t offset)
{
    return failureAt(ErrorCode::Corrupt, what, offset);
}

inline bool hasEqualKeys(const PropertyList::Dictionary &dictionary)
{
    std::vector<std::string_view> keys;
    keys.reserve(dictionary.size());
    for (const auto &[key, value] : dictionary)
        keys.push_back(key);
    std::sort(keys.begin(), keys.end());
    return std::adjacent_find(keys.begin(), keys.end()) != keys.end();
}

Result<PropertyList> readXml(ByteView bytes);
Result<PropertyList> readBinary(ByteView bytes);

/// Whether the readers would take the list again: depth, number of values, keys that differ, finite dates, text that is
/// UTF-8. Asked by both writers first, so that nothing is stored that would be refused later.
Result<void> checkWritable(const PropertyList &list);

} // namespace PropertyListFormats
