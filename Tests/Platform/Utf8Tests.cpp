#include "Platform/Utf8.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

namespace {

struct Row
{
    const char *name;
    std::string text;
    bool isUtf8;

    friend void PrintTo(const Row &row, std::ostream *out) { *out << row.name; }
};

class Utf8 : public ::testing::TestWithParam<Row>
{
};

const Row kRows[] = {
    {"empty", "", true},
    {"ascii", "abc", true},
    {"zero_byte", std::string("a\0b", 3), true},
    {"two_bytes", "\xc3\xa4", true},
    {"three_bytes", "\xe2\x82\xac", true},
    {"four_bytes", "\xf0\x9f\x98\x80", true},
    {"last_character", "\xf4\x8f\xbf\xbf", true},
    {"noncharacter", "\xef\xbf\xbf", true},
    {"beyond_the_last", "\xf4\x90\x80\x80", false},
    {"surrogate", "\xed\xa0\x80", false},
    {"after_the_surrogates", "\xee\x80\x80", true},
    {"overlong_two", "\xc1\xbf", false},
    {"overlong_three", "\xe0\x9f\xbf", false},
    {"overlong_four", "\xf0\x8f\xbf\xbf", false},
    {"five_bytes", "\xf8\x88\x80\x80\x80", false},
    {"lone_continuation", "\x80", false},
    {"lone_ff", "\xff", false},
    {"cut_two", "a\xc3", false},
    {"cut_four", "\xf0\x9f\x98", false},
    {"lead_for_continuation", "\xc3\xc3", false},
    {"ascii_for_continuation",
     "\xe2\x82"
     "a",
     false},
};

} // namespace

TEST_P(Utf8, isUtf8_row_isToldApart)
{
    EXPECT_EQ(isUtf8(GetParam().text), GetParam().isUtf8);
}

INSTANTIATE_TEST_SUITE_P(Rows, Utf8, ::testing::ValuesIn(kRows), [](const auto &row) { return row.param.name; });
