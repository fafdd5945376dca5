#pragma once

#include "Platform/Types.h"

#include <cstddef>
#include <string>

/// Names as records of the classic system keep them. Text on our side is UTF-8; bytes that are none become U+FFFD.
namespace MacText {

std::string fromMacRoman(ByteView bytes);

/// At most `limit` characters; what Mac Roman has no character for becomes '?'.
Bytes toMacRoman(const std::string &text, std::size_t limit);

/// `bytes` are big-endian UTF-16; an odd last byte is left out.
std::string fromUtf16(ByteView bytes);

/// The number of UTF-16 units in two bytes, then the units.
Bytes countedUtf16(const std::string &text);

/// The same text with every byte that is no UTF-8 replaced.
std::string wellFormed(const std::string &text);

} // namespace MacText
