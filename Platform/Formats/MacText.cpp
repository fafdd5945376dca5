#include "Platform/Formats/MacText.h"

#include "Platform/Formats/Unicode.h"

#include <algorithm>
#include <array>

static constexpr char32_t kReplacement = 0xFFFD;

// What Mac Roman's upper half means, from 0x80 on.
static constexpr std::array<char16_t, 128> kMacRoman = {
    0x00C4, 0x00C5, 0x00C7, 0x00C9, 0x00D1, 0x00D6, 0x00DC, 0x00E1, 0x00E0, 0x00E2, 0x00E4, 0x00E3, 0x00E5,
    0x00E7, 0x00E9, 0x00E8, 0x00EA, 0x00EB, 0x00ED, 0x00EC, 0x00EE, 0x00EF, 0x00F1, 0x00F3, 0x00F2, 0x00F4,
    0x00F6, 0x00F5, 0x00FA, 0x00F9, 0x00FB, 0x00FC, 0x2020, 0x00B0, 0x00A2, 0x00A3, 0x00A7, 0x2022, 0x00B6,
    0x00DF, 0x00AE, 0x00A9, 0x2122, 0x00B4, 0x00A8, 0x2260, 0x00C6, 0x00D8, 0x221E, 0x00B1, 0x2264, 0x2265,
    0x00A5, 0x00B5, 0x2202, 0x2211, 0x220F, 0x03C0, 0x222B, 0x00AA, 0x00BA, 0x03A9, 0x00E6, 0x00F8, 0x00BF,
    0x00A1, 0x00AC, 0x221A, 0x0192, 0x2248, 0x2206, 0x00AB, 0x00BB, 0x2026, 0x00A0, 0x00C0, 0x00C3, 0x00D5,
    0x0152, 0x0153, 0x2013, 0x2014, 0x201C, 0x201D, 0x2018, 0x2019, 0x00F7, 0x25CA, 0x00FF, 0x0178, 0x2044,
    0x20AC, 0x2039, 0x203A, 0xFB01, 0xFB02, 0x2021, 0x00B7, 0x201A, 0x201E, 0x2030, 0x00C2, 0x00CA, 0x00C1,
    0x00CB, 0x00C8, 0x00CD, 0x00CE, 0x00CF, 0x00CC, 0x00D3, 0x00D4, 0xF8FF, 0x00D2, 0x00DA, 0x00DB, 0x00D9,
    0x0131, 0x02C6, 0x02DC, 0x00AF, 0x02D8, 0x02D9, 0x02DA, 0x00B8, 0x02DD, 0x02DB, 0x02C7,
};

static bool isSurrogate(char32_t character)
{
    return character >= 0xD800 && character < 0xE000;
}

/// The character at `position`, which is moved behind it; behind one byte where there is none.
static char32_t nextCharacter(const std::string &text, std::size_t &position)
{
    const char32_t character = Unicode::nextCharacter(text, position);
    if (character != Unicode::kNoCharacter)
        return character;
    ++position;
    return kReplacement;
}

std::string MacText::fromMacRoman(ByteView bytes)
{
    std::string text;
    for (const std::uint8_t byte : bytes)
        Unicode::appendUtf8(text, byte < 0x80 ? char32_t(byte) : char32_t(kMacRoman[byte - 0x80u]));
    return text;
}

Bytes MacText::toMacRoman(const std::string &text, std::size_t limit)
{
    Bytes bytes;
    for (std::size_t position = 0; position < text.size() && bytes.size() < limit;) {
        const char32_t character = nextCharacter(text, position);
        const auto found = std::find(kMacRoman.begin(), kMacRoman.end(), character);
        if (character < 0x80)
            bytes.push_back(std::uint8_t(character));
        else
            bytes.push_back(found == kMacRoman.end() ? std::uint8_t('?')
                                                     : std::uint8_t(0x80 + (found - kMacRoman.begin())));
    }
    return bytes;
}

std::string MacText::fromUtf16(ByteView bytes)
{
    std::string text;
    const auto unit = [&](std::size_t index) { return char32_t(bytes[index] << 8 | bytes[index + 1]); };
    for (std::size_t index = 0; index + 1 < bytes.size(); index += 2) {
        char32_t character = unit(index);
        const bool paired = character >= 0xD800 && character < 0xDC00 && index + 3 < bytes.size() &&
                            unit(index + 2) >= 0xDC00 && unit(index + 2) < 0xE000;
        if (paired) {
            character = 0x10000 + ((character - 0xD800) << 10) + (unit(index + 2) - 0xDC00);
            index += 2;
        }
        Unicode::appendUtf8(text, isSurrogate(character) ? kReplacement : character);
    }
    return text;
}

Bytes MacText::countedUtf16(const std::string &text)
{
    Bytes bytes = Unicode::utf16FromUtf8(wellFormed(text));
    const std::size_t count = std::min<std::size_t>(bytes.size() / 2, UINT16_MAX);
    bytes.resize(count * 2);
    bytes.insert(bytes.begin(), {std::uint8_t(count >> 8), std::uint8_t(count)});
    return bytes;
}

std::string MacText::wellFormed(const std::string &text)
{
    std::string result;
    for (std::size_t position = 0; position < text.size();)
        Unicode::appendUtf8(result, nextCharacter(text, position));
    return result;
}
