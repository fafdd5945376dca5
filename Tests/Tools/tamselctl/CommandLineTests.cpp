#include "Tests/Tools/tamselctl/Tamselctl.h"

#include <gmock/gmock.h>

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

TEST(CommandLine, help_listsEveryVerb)
{
    const Ended ended = tamselctl({"--help"});
    EXPECT_EQ(ended.exitCode, 0);
    EXPECT_THAT(ended.err, IsEmpty());
    for (const char *name : {"status", "on", "off", "history", "post", "listen", "size", "alias make", "alias info",
                             "alias resolve", "compress", "inspect"})
        EXPECT_THAT(ended.out, HasSubstr(std::string("\n  ") + name + " "));
}

class VerbHelp : public ::testing::TestWithParam<std::vector<std::string>>
{
};

TEST_P(VerbHelp, help_isPrintedAndNothingDone)
{
    std::vector<std::string> words = GetParam();
    std::string name;
    for (const std::string &word : words)
        name += " " + word;
    words.push_back("--help");
    const Ended ended = tamselctl(words);
    EXPECT_EQ(ended.exitCode, 0);
    EXPECT_THAT(ended.err, IsEmpty());
    EXPECT_THAT(ended.out, StartsWith("Usage: tamselctl" + name));
}

INSTANTIATE_TEST_SUITE_P(EveryVerb, VerbHelp,
                         ::testing::Values(std::vector<std::string>{"status"}, std::vector<std::string>{"on"},
                                           std::vector<std::string>{"off"}, std::vector<std::string>{"history"},
                                           std::vector<std::string>{"post"}, std::vector<std::string>{"listen"},
                                           std::vector<std::string>{"size"}, std::vector<std::string>{"alias"},
                                           std::vector<std::string>{"alias", "make"},
                                           std::vector<std::string>{"alias", "info"},
                                           std::vector<std::string>{"alias", "resolve"},
                                           std::vector<std::string>{"compress"}, std::vector<std::string>{"inspect"}));

struct WrongUse
{
    const char *name;
    std::vector<std::string> words;
    const char *reason;
};

void PrintTo(const WrongUse &row, std::ostream *out)
{
    *out << row.name;
}

class WrongUseOf : public ::testing::TestWithParam<WrongUse>
{
};

TEST_P(WrongUseOf, commandLine_exitsWithTwoAndSaysWhy)
{
    const Ended ended = tamselctl(GetParam().words);
    EXPECT_EQ(ended.exitCode, 2);
    EXPECT_THAT(ended.out, IsEmpty());
    EXPECT_THAT(ended.err, HasSubstr(GetParam().reason));
    EXPECT_THAT(ended.err, HasSubstr("Usage: tamselctl"));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, WrongUseOf,
    ::testing::Values(WrongUse{"nothing", {}, "what is to be done?"},
                      WrongUse{"onlyJson", {"--json"}, "what is to be done?"},
                      WrongUse{"unknownVerb", {"compact"}, "there is no command compact"},
                      WrongUse{"halfAVerb", {"alias"}, "there is no command alias"},
                      WrongUse{"unknownSecondWord", {"alias", "find"}, "there is no command alias find"},
                      WrongUse{"unknownOption", {"status", "--all"}, "there is no option --all"},
                      WrongUse{"unknownOptionBeforeTheVerb", {"--all", "status"}, "there is no option --all"},
                      WrongUse{"optionOfAnotherVerb", {"status", "--count", "1"}, "there is no option --count"},
                      WrongUse{"optionWithoutArgument", {"listen", "--count"}, "--count needs its argument N"},
                      WrongUse{"requiredOptionMissing", {"compress", "a"}, "the option --to FOLDER is missing"},
                      WrongUse{"operandMissing", {"size"}, "something is missing"},
                      WrongUse{"operandTooMany", {"size", "1", "2"}, "one word too many: 2"},
                      WrongUse{"operandForNone", {"status", "now"}, "one word too many: now"},
                      WrongUse{"countOfNone", {"listen", "--count", "0"}, "--count takes a number from 1 up"},
                      WrongUse{"countInWords", {"listen", "--count=two"}, "--count takes a number from 1 up"},
                      WrongUse{"negativeTimeout", {"listen", "--timeout", "-1"}, "--timeout takes seconds"},
                      WrongUse{"endlessTimeout", {"listen", "--timeout", "99999999999"}, "--timeout takes seconds"},
                      WrongUse{"postWithoutName", {"post", ""}, "no name of a notification"},
                      WrongUse{"postWithoutEquals", {"post", "a", "b"}, "neither KEY=VALUE nor KEY+=ELEMENT: b"},
                      WrongUse{"postWithoutKey", {"post", "a", "=b"}, "no key before the equals sign: =b"},
                      WrongUse{"postArrayWithoutKey", {"post", "a", "+=b"}, "no key before the equals sign: +=b"},
                      WrongUse{"postKeyTwice", {"post", "a", "b=1", "b=2"}, "the key is given twice: b"},
                      WrongUse{"postKeyAsBoth", {"post", "a", "b=1", "b+=2"}, "as a string and as an array: b"},
                      WrongUse{"postNotUtf8", {"post", "a", "b=\xff"}, "not UTF-8"}),
    [](const auto &row) { return std::string(row.param.name); });

TEST(CommandLine, wordsBehindTwoDashes_areNoOptions)
{
    const Ended ended = tamselctl({"size", "--", "--json"});
    EXPECT_EQ(ended.exitCode, 2);
    EXPECT_THAT(ended.err, HasSubstr("no number of bytes: --json"));
}

TEST(CommandLine, version_isPrinted)
{
    const Ended ended = tamselctl({"--version"});
    EXPECT_EQ(ended.exitCode, 0);
    EXPECT_THAT(ended.out, ::testing::MatchesRegex("tamselctl [0-9.]+\n"));
}

TEST(CommandLine, fullDisk_isAFailure)
{
    const Ended ended = tamselctl({"size", "1"}, "/dev/full");
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_THAT(ended.err, HasSubstr("cannot write to standard output"));
}
