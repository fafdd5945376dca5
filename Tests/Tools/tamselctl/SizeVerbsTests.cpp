#include "Tests/Tools/tamselctl/Tamselctl.h"

#include <gmock/gmock.h>

TEST(SizeVerbs, size_isWrittenAsThePanelDoes)
{
    EXPECT_EQ(tamselctl({"size", "0"}).out, "0 b\n");
    EXPECT_EQ(tamselctl({"size", "1024"}).out, "1.02 KB\n");
    EXPECT_EQ(tamselctl({"size", "18446744073709551615"}).out, "18446743552 GB\n");
}

TEST(SizeVerbs, json_keepsTheNumberWhole)
{
    EXPECT_EQ(tamselctl({"size", "18446744073709551615", "--json"}).out,
              "{\"size\":18446744073709551615,\"prettySize\":\"18446743552 GB\"}\n");
}

TEST(SizeVerbs, noNumber_isWrongUse)
{
    for (const char *word : {"", "-1", "+1", " 1", "1 ", "1k", "0x10", "1.5", "18446744073709551616"}) {
        const Ended ended = tamselctl({"size", "--", word});
        EXPECT_EQ(ended.exitCode, 2) << word;
        EXPECT_THAT(ended.err, ::testing::HasSubstr("no number of bytes")) << word;
    }
}
