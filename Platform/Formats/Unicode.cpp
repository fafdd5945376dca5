#include "Platform/Formats/Unicode.h"

#include <cassert>

static void appendUnit(Bytes &bytes, char32_t unit)
{
    bytes.push_back(std::uint8_t(unit >> 8));
    bytes.push_back(std::uint8_t(unit & 0xFF));
}

char32_t Unicode::nextCharacter(std::string_view text, std::size_t &at)
{
    const auto byteAt = [&](std::size_t index) { return std::uint8_t(text[index]); };
    const std::uint8_t first = byteAt(at);
    if (first < 0x80) {
        ++at;
        return first;
    }
    const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || length > text.size() - at)
        return kNoCharacter;
    char32_t character = first & (0xFFu >> (length + 1));
    for (std::size_t i = 1; i < length; ++i) {
        if ((byteAt(at + i) & 0xC0) != 0x80)
            return kNoCharacter;
        character = character << 6 | (byteAt(at + i) & 0x3Fu);
    }
    constexpr char32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    if (character < kSmallest[length] || character > 0x10FFFF || (character >= 0xD800 && character < 0xE000))
        return kNoCharacter;
    at += length;
    return character;
}

void Unicode::appendUtf8(std::string &text, char32_t character)
{
    if (character < 0x80) {
        text += char(character);
        return;
    }
    const int continuations = character < 0x800 ? 1 : character < 0x10000 ? 2 : 3;
    const unsigned mark = 0xFF00u >> (continuations + 1) & 0xFFu;
    text += char(mark | character >> (6 * continuations));
    for (int i = continuations - 1; i >= 0; --i)
        text += char(0x80u | (character >> (6 * i) & 0x3Fu));
}

std::optional<std::string> Unicode::utf8FromUtf16(ByteView bytes)
{
    assert(bytes.size() % 2 == 0);
    const auto unitAt = [&](std::size_t index) { return char32_t(bytes[index] << 8 | bytes[index + 1]); };
    std::string text;
    text.reserve(bytes.size() / 2);
    for (std::size_t at = 0; at + 1 < bytes.size(); at += 2) {
        char32_t character = unitAt(at);
        if (character >= 0xD800 && character < 0xE000) {
            const bool isPair = character < 0xDC00 && bytes.size() - at >= 4 && (unitAt(at + 2) & 0xFC00) == 0xDC00;
            if (!isPair)
                return std::nullopt;
            character = 0x10000 + ((character & 0x3FF) << 10 | (unitAt(at + 2) & 0x3FF));
            at += 2;
        }
        appendUtf8(text, character);
    }
    return text;
}

Bytes Unicode::utf16FromUtf8(std::string_view text)
{
    Bytes bytes;
    bytes.reserve(text.size() * 2);
    for (std::size_t at = 0; at < text.size();) {
        const char32_t character = nextCharacter(text, at);
        assert(character != kNoCharacter);
        if (character < 0x10000) {
            appendUnit(bytes, character);
            continue;
        }
        appendUnit(bytes, 0xD800 + ((character - 0x10000) >> 10));
        appendUnit(bytes, 0xDC00 + (character & 0x3FF));
    }
    return bytes;
}
