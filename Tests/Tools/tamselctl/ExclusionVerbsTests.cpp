#include "Tests/Support/FileContent.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Tools/tamselctl/Tamselctl.h"

#include <gmock/gmock.h>

using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace {

/// Writes a file of rules, each a key and a value, and answers its path.
std::string rulesFile(const std::string &name, const std::vector<std::pair<std::string, std::string>> &rules)
{
    const Path file = PrivateHome::current().root() / name;
    std::string text = "<plist version=\"1.0\"><array>";
    for (const auto &[key, value] : rules)
        text += "<dict><key>RuleType</key><string>Exclude</string><key>" + key + "</key><string>" + value +
                "</string></dict>";
    writeFile(file, text + "</array></plist>");
    return file;
}

} // namespace

TEST(MustExclude, ownRules_areAskedForEachPath)
{
    const Ended ended = tamselctl({"must-exclude", "/home/u/film.mkv", "/home/u/letter.txt", "/usr/bin/env"});
    EXPECT_EQ(ended.exitCode, 0);
    EXPECT_EQ(ended.out, "/home/u/film.mkv: excluded, suffix .mkv\n"
                         "/home/u/letter.txt: not excluded\n"
                         "/usr/bin/env: excluded, prefix /usr/\n");
    EXPECT_THAT(ended.err, IsEmpty());
}

TEST(MustExclude, only_leavesTheOwnRulesOut)
{
    const std::string one = rulesFile("one.plist", {{"PathEndsWithString", ".x"}});
    const std::string two = rulesFile("two.plist", {{"PathContainsString", "y"}, {"PathExactlyEqualsString", ""}});
    EXPECT_EQ(tamselctl({"must-exclude", "--only", "--rules", one, "--rules=" + two, "a.x", "/ayb", "/a.mkv", ""}).out,
              "a.x: excluded, suffix .x\n/ayb: excluded, contains y\n/a.mkv: not excluded\n: excluded, exact \n");
    EXPECT_EQ(tamselctl({"must-exclude", "--only", "/usr/bin/env"}).out, "/usr/bin/env: not excluded\n");
}

TEST(MustExclude, rules_withoutOnly_comeBesideTheOwn)
{
    const std::string file = rulesFile("one.plist", {{"PathEndsWithString", ".x"}});
    EXPECT_EQ(tamselctl({"must-exclude", "--rules", file, "a.x", "a.mkv"}).out,
              "a.x: excluded, suffix .x\na.mkv: excluded, suffix .mkv\n");
}

TEST(MustExclude, json_hasItsKeysWhateverTheAnswer)
{
    const std::string file = rulesFile("one.plist", {{"PathBeginsWithString", "/p"}});
    const Ended ended = tamselctl({"--json", "must-exclude", "--only", "--rules", file, "/p\xFF", "/q"});
    EXPECT_EQ(ended.out, "{\"path\":\"/p\\udcff\",\"excluded\":true,\"kind\":\"prefix\",\"rule\":\"/p\"}\n"
                         "{\"path\":\"/q\",\"excluded\":false,\"kind\":\"\",\"rule\":\"\"}\n");
}

TEST(MustExclude, rulesThatCannotBeRead_areAFailure)
{
    const Path garbage = PrivateHome::current().root() / "garbage";
    writeFile(garbage, "garbage");
    for (const std::string &file : {garbage.native(), std::string("/no/such/file")}) {
        const Ended ended = tamselctl({"must-exclude", "--rules", file, "/a"});
        EXPECT_EQ(ended.exitCode, 1) << file;
        EXPECT_THAT(ended.err, HasSubstr(file));
        EXPECT_THAT(ended.out, IsEmpty());
    }
}

TEST(MustExclude, wrongUse_isRefused)
{
    EXPECT_EQ(tamselctl({"must-exclude"}).exitCode, 2);
    EXPECT_EQ(tamselctl({"must-exclude", "--rules"}).exitCode, 2);
    EXPECT_EQ(tamselctl({"must-exclude", "--only=yes", "/a"}).exitCode, 2);
    EXPECT_THAT(tamselctl({"must-exclude", "--help"}).out,
                HasSubstr("tamselctl must-exclude [--only] [--rules FILE]... PATH..."));
}
