#include "Classes/Util/DecimalDigits.h"

#include "Platform/Utf8.h"

#include <algorithm>
#include <iterator>

/// The zeros of Unicode 14: the characters of category Nd stand in rows of ten, each from its zero to its nine.
static constexpr char32_t kZeros[] = {
    0x0030,  0x0660,  0x06F0,  0x07C0,  0x0966,  0x09E6,  0x0A66,  0x0AE6,  0x0B66,  0x0BE6,  0x0C66,
    0x0CE6,  0x0D66,  0x0DE6,  0x0E50,  0x0ED0,  0x0F20,  0x1040,  0x1090,  0x17E0,  0x1810,  0x1946,
    0x19D0,  0x1A80,  0x1A90,  0x1B50,  0x1BB0,  0x1C40,  0x1C50,  0xA620,  0xA8D0,  0xA900,  0xA9D0,
    0xA9F0,  0xAA50,  0xABF0,  0xFF10,  0x104A0, 0x10D30, 0x11066, 0x110F0, 0x11136, 0x111D0, 0x112F0,
    0x11450, 0x114D0, 0x11650, 0x116C0, 0x11730, 0x118E0, 0x11950, 0x11C50, 0x11D50, 0x11DA0, 0x16A60,
    0x16AC0, 0x16B50, 0x1D7CE, 0x1D7D8, 0x1D7E2, 0x1D7EC, 0x1D7F6, 0x1E140, 0x1E2F0, 0x1E950, 0x1FBF0};

std::size_t DecimalDigits::firstCharacter(std::string_view text)
{
    const auto lead = static_cast<unsigned char>(text.front());
    const std::size_t length = lead < 0xC0 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    return length <= text.size() && isUtf8(text.substr(0, length)) ? length : 1;
}

std::optional<int> DecimalDigits::value(std::string_view text)
{
    if (text.empty())
        return std::nullopt;
    const std::size_t length = firstCharacter(text);
    const auto lead = static_cast<unsigned char>(text.front());
    char32_t character = length == 1 ? lead : lead & (0xFFu >> (length + 1));
    for (const char next : text.substr(1, length - 1))
        character = character << 6 | (static_cast<unsigned char>(next) & 0x3Fu);
    if (length == 1 && lead >= 0x80)
        return std::nullopt;
    const auto after = std::upper_bound(std::begin(kZeros), std::end(kZeros), character);
    if (after == std::begin(kZeros) || character - *std::prev(after) > 9)
        return std::nullopt;
    return int(character - *std::prev(after));
}
