#include "Tools/tamselctl/Record.h"

#include <gtest/gtest.h>

#include <limits>
#include <ostream>

TEST(Record, values_areWrittenAsJsonInTheirOrder)
{
    const Record record = Record()
                              .add("yes", true)
                              .add("least", std::numeric_limits<std::int64_t>::min())
                              .add("most", std::numeric_limits<std::uint64_t>::max())
                              .add("text", "a")
                              .add("texts", std::vector<std::string>{"b", "c"})
                              .add("records", std::vector<Record>{Record().add("d", 1u), Record()})
                              .add("record", Record().add("e", false));
    EXPECT_EQ(record.toJson(), R"({"yes":true,"least":-9223372036854775808,"most":18446744073709551615,"text":"a",)"
                               R"("texts":["b","c"],"records":[{"d":1},{}],"record":{"e":false}})");
}

TEST(Record, emptyLists_areWrittenAsJson)
{
    EXPECT_EQ(Record().add("a", std::vector<std::string>()).add("b", "").toJson(), R"({"a":[],"b":""})");
}

struct Quoted
{
    const char *name;
    std::string bytes;
    std::string json;
};

void PrintTo(const Quoted &row, std::ostream *out)
{
    *out << row.name;
}

class QuotedText : public ::testing::TestWithParam<Quoted>
{
};

TEST_P(QuotedText, text_isQuoted)
{
    EXPECT_EQ(Record().add("t", GetParam().bytes).toJson(), "{\"t\":\"" + GetParam().json + "\"}");
}

INSTANTIATE_TEST_SUITE_P(
    Rows, QuotedText,
    ::testing::Values(Quoted{"quoteAndBackslash", "a\"b\\c", "a\\\"b\\\\c"},
                      Quoted{"controlCharacters", std::string("\0\n\x1f\x7f", 4), "\\u0000\\u000a\\u001f\\u007f"},
                      Quoted{"umlaut", "\xc3\xa4", "\xc3\xa4"},
                      Quoted{"fourBytes", "\xf0\x9f\x98\x80", "\xf0\x9f\x98\x80"},
                      Quoted{"strayByte", "a\xffz", "a\\udcffz"}, Quoted{"cutOff", "\xe2\x82", "\\udce2\\udc82"},
                      Quoted{"overlong", "\xc0\xaf", "\\udcc0\\udcaf"},
                      Quoted{"surrogate", "\xed\xa0\x80", "\\udced\\udca0\\udc80"},
                      Quoted{"tooHigh", "\xf4\x90\x80\x80", "\\udcf4\\udc90\\udc80\\udc80"},
                      Quoted{"goodAfterBad", "\xc3\xc3\xa4", "\\udcc3\xc3\xa4"}),
    [](const auto &row) { return std::string(row.param.name); });

TEST(Record, text_hasALineForEachElement)
{
    const Record record = Record()
                              .add("active", true)
                              .add("names", std::vector<std::string>{"a", "b"})
                              .add("blocks", std::vector<Record>{Record().add("offset", 1u).add("size", 2u)});
    EXPECT_EQ(record.toText(), "active: yes\nnames:\n  a\n  b\nblocks:\n  offset=1 size=2\n");
}
