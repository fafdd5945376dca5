#include "Platform/Formats/Unicode.h"

#include <gtest/gtest.h>

TEST(Unicode, utf16_eachLength_goesBothWays)
{
    const std::pair<std::string, Bytes> rows[] = {
        {"", {}},
        {"a", {0, 'a'}},
        {"\x7F", {0, 0x7F}},
        {"\xC2\x80", {0, 0x80}},
        {"\xDF\xBF", {0x07, 0xFF}},
        {"\xE0\xA0\x80", {0x08, 0x00}},
        {"\xED\x9F\xBF", {0xD7, 0xFF}},
        {"\xEE\x80\x80", {0xE0, 0x00}},
        {"\xEF\xBF\xBF", {0xFF, 0xFF}},
        {"\xF0\x90\x80\x80", {0xD8, 0x00, 0xDC, 0x00}},
        {"\xF4\x8F\xBF\xBF", {0xDB, 0xFF, 0xDF, 0xFF}},
        {"a\xF0\x9F\x98\x80z", {0, 'a', 0xD8, 0x3D, 0xDE, 0x00, 0, 'z'}},
    };
    for (const auto &[text, units] : rows) {
        EXPECT_EQ(Unicode::utf16FromUtf8(text), units) << text;
        EXPECT_EQ(Unicode::utf8FromUtf16(units), text) << text;
    }
}

TEST(Unicode, utf16_surrogateAlone_isNoText)
{
    const Bytes rows[] = {{0xD8, 0x00},       {0xDC, 0x00},         {0xD8, 0x00, 0, 'a'},       {0xDC, 0x00, 0xD8, 0},
                          {0xD8, 0, 0xD8, 0}, {0, 'a', 0xDB, 0xFF}, {0xD8, 0, 0xDC, 0, 0xDC, 0}};
    for (const Bytes &units : rows)
        EXPECT_FALSE(Unicode::utf8FromUtf16(units));
}
