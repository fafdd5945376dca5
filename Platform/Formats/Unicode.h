#pragma once

#include "Platform/Types.h"

#include <optional>
#include <string>
#include <string_view>

/// Text of foreign bytes, taken strictly: what is not well-formed is no text.
namespace Unicode {

/// UTF-8 of big-endian UTF-16, or nothing when a surrogate stands alone. `bytes` is of even length.
std::optional<std::string> utf8FromUtf16(ByteView bytes);

/// Big-endian UTF-16 of well-formed UTF-8.
Bytes utf16FromUtf8(std::string_view text);

static constexpr char32_t kNoCharacter = 0xFFFFFFFF;

/// The character that starts at `at`, which is moved behind it; `kNoCharacter`, and `at` stays, when none does.
char32_t nextCharacter(std::string_view text, std::size_t &at);

/// `character` is at most U+10FFFF.
void appendUtf8(std::string &text, char32_t character);

} // namespace Unicode
