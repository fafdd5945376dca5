#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

/// Decimal digits of every script that has them.
namespace DecimalDigits {

/// The length in bytes of the first character of a text of at least one byte; a byte that begins no character of UTF-8
/// is one by itself.
std::size_t firstCharacter(std::string_view text);

/// What the first character of the text stands for, 0 to 9; nullopt when it is no digit, or there is none.
std::optional<int> value(std::string_view text);

} // namespace DecimalDigits
