#include "Platform/Formats/MacText.h"

#include <gtest/gtest.h>

TEST(MacText, macRoman_everyByte_survivesTheWayThereAndBack)
{
    Bytes all;
    for (int byte = 0; byte < 256; ++byte)
        all.push_back(std::uint8_t(byte));
    EXPECT_EQ(MacText::toMacRoman(MacText::fromMacRoman(all), all.size()), all);
}

TEST(MacText, fromMacRoman_knownCharacters_areTheirs)
{
    EXPECT_EQ(MacText::fromMacRoman(Bytes{'G', 'r', 0x9F, 0xA7, 'e'}), "Grüße");
    EXPECT_EQ(MacText::fromMacRoman(Bytes{0xDB, 0xF0}), "€\uF8FF");
}

TEST(MacText, toMacRoman_unknownCharacter_isAQuestionMark)
{
    EXPECT_EQ(stringOf(MacText::toMacRoman("a日b", 10)), "a?b");
}

TEST(MacText, toMacRoman_longText_isCutByCharacters)
{
    EXPECT_EQ(MacText::toMacRoman("üüü", 2), (Bytes{0x9F, 0x9F}));
}

TEST(MacText, utf16_everyPlane_survivesTheWayThereAndBack)
{
    const std::string text = "a é 日 😀 \U0010FFFF";
    EXPECT_EQ(MacText::fromUtf16(ByteView(MacText::countedUtf16(text)).subspan(2)), text);
    EXPECT_EQ(MacText::countedUtf16("😀"), (Bytes{0, 2, 0xD8, 0x3D, 0xDE, 0x00}));
}

TEST(MacText, fromUtf16_damaged_isReplaced)
{
    EXPECT_EQ(MacText::fromUtf16(Bytes{0xD8, 0x3D}), "\uFFFD");
    EXPECT_EQ(MacText::fromUtf16(Bytes{0xDE, 0x00, 0, 'a'}), "\uFFFDa");
    EXPECT_EQ(MacText::fromUtf16(Bytes{0xD8, 0x3D, 0, 'a', 0}), "\uFFFDa");
}

TEST(MacText, wellFormed_foreignBytes_areReplaced)
{
    EXPECT_EQ(MacText::wellFormed("ok é 😀"), "ok é 😀");
    EXPECT_EQ(MacText::wellFormed("a\xFF"
                                  "b"),
              "a\uFFFDb");
    EXPECT_EQ(MacText::wellFormed("\xC0\x80"), "\uFFFD\uFFFD");           // not the shortest form
    EXPECT_EQ(MacText::wellFormed("\xED\xA0\x80"), "\uFFFD\uFFFD\uFFFD"); // half of a pair
    EXPECT_EQ(MacText::wellFormed("\xF0\x9F\x98"), "\uFFFD\uFFFD\uFFFD"); // cut off
}

TEST(MacText, countedUtf16_name_hasItsLengthInFront)
{
    EXPECT_EQ(MacText::countedUtf16("ab"), (Bytes{0, 2, 0, 'a', 0, 'b'}));
}
