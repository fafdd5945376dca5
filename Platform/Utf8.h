#pragma once

#include <string_view>

/// Whether `text` is UTF-8 as the standard has it: shortest forms only, no surrogates, nothing above U+10FFFF, no
/// sequence cut off at the end.
bool isUtf8(std::string_view text);
