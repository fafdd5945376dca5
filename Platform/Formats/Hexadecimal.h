#pragma once

#include "Platform/Types.h"

#include <optional>
#include <string>
#include <string_view>

/// Two lower-case digits a byte.
inline std::string toHexadecimal(ByteView bytes)
{
    static constexpr std::string_view kDigits = "0123456789abcdef";
    std::string text;
    for (const std::uint8_t byte : bytes) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 15];
    }
    return text;
}

/// Nothing for what is not pairs of digits of either case.
inline std::optional<Bytes> fromHexadecimal(std::string_view text)
{
    const auto valueOf = [](char digit) {
        return digit >= '0' && digit <= '9'   ? digit - '0'
               : digit >= 'a' && digit <= 'f' ? digit - 'a' + 10
               : digit >= 'A' && digit <= 'F' ? digit - 'A' + 10
                                              : -1;
    };
    if (text.size() % 2 != 0)
        return std::nullopt;
    Bytes bytes;
    for (std::size_t index = 0; index < text.size(); index += 2) {
        const int high = valueOf(text[index]), low = valueOf(text[index + 1]);
        if (high < 0 || low < 0)
            return std::nullopt;
        bytes.push_back(std::uint8_t(high * 16 + low));
    }
    return bytes;
}
