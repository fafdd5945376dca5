#include "Classes/PrefPane/ExclusionRuleSet.h"

#include "Platform/FileSystem.h"
#include "Platform/PropertyList.h"
#include "Tests/Support/Damage.h"
#include "Tests/Support/FileContent.h"
#include "Tests/Support/PlainMatching.h"
#include "Tests/Support/PrivateHome.h"

#include <gmock/gmock.h>

#include <random>
#include <thread>

using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

namespace {

class ExclusionRuleSetTest : public ::testing::Test
{
protected:
    /// Loads a file with these elements of the array.
    void load(const std::string &elements)
    {
        loadText("<plist version=\"1.0\"><array>" + elements + "</array></plist>");
    }
    void loadText(const std::string &text)
    {
        writeFile(file, text);
        rules.loadRulesAt(file);
    }
    bool isEmpty() const
    {
        return rules.suffixRules().empty() && rules.prefixRules().empty() && rules.componentRules().empty() &&
               rules.exactRules().empty();
    }
    std::string match(const std::string &path) const
    {
        const auto found = rules.matchForPath(path);
        EXPECT_EQ(found.has_value(), rules.mustExcludePath(path)) << path;
        return found ? std::string(nameOf(found->kind)) + " " + found->rule : "none";
    }

    Path file = PrivateHome::current().makeFolder("rules") / "rules.plist";
    ExclusionRuleSet rules;
};

std::string rule(const std::string &key, const std::string &value, const std::string &type = "Exclude")
{
    return "<dict><key>RuleType</key><string>" + type + "</string><key>" + key + "</key><string>" + value +
           "</string></dict>";
}

} // namespace

TEST_F(ExclusionRuleSetTest, noRules_excludeNothing)
{
    EXPECT_EQ(match("/any/path"), "none");
    EXPECT_EQ(match(""), "none");
}

TEST_F(ExclusionRuleSetTest, containsRule_matchesAnyPartNotOnlyComponents)
{
    rules.addRuleForPathComponent("/.Trashes");
    EXPECT_EQ(match("/Volumes/X/.Trashes/file"), "contains /.Trashes");
    EXPECT_EQ(match("/a/.TrashesOld/b"), "contains /.Trashes");
    EXPECT_EQ(match("/a/x.Trashes/b"), "none");
}

TEST_F(ExclusionRuleSetTest, matching_distinguishesCase)
{
    rules.addRuleForPathSuffix(".DMG");
    rules.addRuleForPathPrefix("/Private/");
    rules.addRuleForPathComponent("Cache");
    rules.addRuleForPathEqualsTo("/File");
    for (const std::string path : {"a.dmg", "/private/x", "/cache/x", "/file"})
        EXPECT_EQ(match(path), "none") << path;
    for (const std::string path : {"a.DMG", "/Private/x", "/Cache/x", "/File"})
        EXPECT_NE(match(path), "none") << path;
}

TEST_F(ExclusionRuleSetTest, kinds_areAskedInTheirFixedOrder)
{
    rules.addRuleForPathEqualsTo("/start/middle/end");
    EXPECT_EQ(match("/start/middle/end"), "exact /start/middle/end");
    rules.addRuleForPathComponent("middle");
    EXPECT_EQ(match("/start/middle/end"), "contains middle");
    rules.addRuleForPathPrefix("/start");
    EXPECT_EQ(match("/start/middle/end"), "prefix /start");
    rules.addRuleForPathSuffix("/end");
    EXPECT_EQ(match("/start/middle/end"), "suffix /end");
}

TEST_F(ExclusionRuleSetTest, eachKind_answersForItsSetAlone)
{
    rules.addRuleForPathSuffix("end");
    rules.addRuleForPathPrefix("start");
    rules.addRuleForPathComponent("mid");
    rules.addRuleForPathEqualsTo("whole");
    EXPECT_TRUE(rules.suffixRuleMatchedForPath("the end"));
    EXPECT_FALSE(rules.suffixRuleMatchedForPath("end start mid whole."));
    EXPECT_TRUE(rules.prefixRuleMatchedForPath("start it"));
    EXPECT_FALSE(rules.prefixRuleMatchedForPath("end start mid whole."));
    EXPECT_TRUE(rules.componentRuleMatchedForPath("amidst"));
    EXPECT_FALSE(rules.componentRuleMatchedForPath("start end whole"));
    EXPECT_TRUE(rules.exactRuleMatchedForPath("whole"));
    EXPECT_FALSE(rules.exactRuleMatchedForPath("whole end"));
}

TEST_F(ExclusionRuleSetTest, emptyRule_matchesOnlyTheEmptyPathExactly)
{
    rules.addRuleForPathSuffix("");
    rules.addRuleForPathPrefix("");
    rules.addRuleForPathComponent("");
    EXPECT_EQ(match("/a"), "none");
    EXPECT_EQ(match(""), "none");
    rules.addRuleForPathEqualsTo("");
    EXPECT_EQ(match("/a"), "none");
    EXPECT_EQ(match(""), "exact ");
    EXPECT_THAT(rules.suffixRules(), UnorderedElementsAre(""));
}

TEST_F(ExclusionRuleSetTest, ruleAddedTwice_isKeptOnce)
{
    rules.addRuleForPathSuffix(".a");
    rules.addRuleForPathSuffix(".a");
    EXPECT_EQ(rules.suffixRules().size(), 1u);
}

TEST_F(ExclusionRuleSetTest, ruleAddedAfterAQuestion_counts)
{
    EXPECT_EQ(match("/a.b"), "none");
    rules.addRuleForPathSuffix(".b");
    EXPECT_EQ(match("/a.b"), "suffix .b");
    rules.addRuleForPathComponent("x");
    EXPECT_EQ(match("/x.c"), "contains x");
}

TEST_F(ExclusionRuleSetTest, anyNumberOfRules_answersAsAWalkOverTheSets)
{
    std::mt19937 random(7);
    const auto text = [&random](std::size_t longest) {
        std::string made(random() % (longest + 1), ' ');
        for (char &character : made)
            character = "/ab."[random() % 4];
        return made;
    };
    int excluded = 0;
    for (std::size_t count = 0; count <= 2 * ExclusionRuleSet::kFewRules; ++count) {
        ExclusionRuleSet some;
        for (std::size_t number = 0; number < count; ++number) {
            using Add = void (ExclusionRuleSet::*)(const std::string &);
            static constexpr Add kAdds[] = {
                &ExclusionRuleSet::addRuleForPathSuffix, &ExclusionRuleSet::addRuleForPathPrefix,
                &ExclusionRuleSet::addRuleForPathComponent, &ExclusionRuleSet::addRuleForPathEqualsTo};
            (some.*kAdds[random() % 4])(text(9));
        }
        for (int asked = 0; asked < 500; ++asked) {
            const std::string path = text(14);
            ASSERT_EQ(some.mustExcludePath(path), matchesPlainly(some, path)) << path << ", " << count << " rules";
            ASSERT_EQ(some.matchForPath(path).has_value(), some.mustExcludePath(path)) << path;
            excluded += some.mustExcludePath(path) ? 1 : 0;
        }
    }
    EXPECT_GT(excluded, 500);
    EXPECT_LT(excluded, 11000);
}

TEST_F(ExclusionRuleSetTest, file_dictionaryWithTwoKeys_givesTwoIndependentRules)
{
    load("<dict><key>RuleType</key><string>Exclude</string><key>PathBeginsWithString</key><string>/p/</string>"
         "<key>PathEndsWithString</key><string>.s</string></dict>");
    EXPECT_EQ(match("/p/file"), "prefix /p/");
    EXPECT_EQ(match("/q/file.s"), "suffix .s");
    EXPECT_EQ(match("/q/file"), "none");
}

TEST_F(ExclusionRuleSetTest, file_fourKeys_fillTheirSets)
{
    load(rule("PathEndsWithString", "s") + rule("PathBeginsWithString", "p") + rule("PathContainsString", "c") +
         rule("PathExactlyEqualsString", "e") + rule("PathMatchesString", "other"));
    EXPECT_THAT(rules.suffixRules(), UnorderedElementsAre("s"));
    EXPECT_THAT(rules.prefixRules(), UnorderedElementsAre("p"));
    EXPECT_THAT(rules.componentRules(), UnorderedElementsAre("c"));
    EXPECT_THAT(rules.exactRules(), UnorderedElementsAre("e"));
}

TEST_F(ExclusionRuleSetTest, file_otherRuleTypes_addNothing)
{
    load(rule("PathEndsWithString", "s", "Include") + rule("PathEndsWithString", "s", "exclude") +
         rule("PathEndsWithString", "s", "Exclude ") +
         "<dict><key>PathEndsWithString</key><string>s</string></dict>"
         "<dict><key>RuleType</key><true/><key>PathEndsWithString</key><string>s</string></dict>");
    EXPECT_TRUE(isEmpty());
}

TEST_F(ExclusionRuleSetTest, file_wrongTypes_areSkippedAndTheRestLoads)
{
    load("<string>Exclude</string><integer>1</integer><array><string>x</string></array>"
         "<dict><key>RuleType</key><string>Exclude</string><key>PathEndsWithString</key><integer>1</integer>"
         "<key>PathBeginsWithString</key><array><string>/a</string></array>"
         "<key>PathContainsString</key><string>kept</string><key>PathExactlyEqualsString</key><true/></dict>" +
         rule("PathEndsWithString", "kept too"));
    EXPECT_THAT(rules.componentRules(), UnorderedElementsAre("kept"));
    EXPECT_THAT(rules.suffixRules(), UnorderedElementsAre("kept too"));
    EXPECT_THAT(rules.prefixRules(), IsEmpty());
    EXPECT_THAT(rules.exactRules(), IsEmpty());
}

TEST_F(ExclusionRuleSetTest, file_ofAnotherShape_addsNothing)
{
    const std::vector<std::string> texts = {"", "no list",
                                            "<plist version=\"1.0\">" + rule("PathEndsWithString", "s") + "</plist>",
                                            "<plist version=\"1.0\"><string>s</string></plist>",
                                            "<plist version=\"1.0\"><array>" + rule("PathEndsWithString", "s")};
    for (const std::string &text : texts) {
        loadText(text);
        EXPECT_TRUE(isEmpty()) << text;
        const auto added = rules.addRulesOf(file);
        ASSERT_FALSE(added) << text;
        EXPECT_EQ(added.failure().code, ErrorCode::Corrupt) << text;
    }
}

TEST_F(ExclusionRuleSetTest, file_missingOrNone_isSkipped)
{
    rules.loadRulesAt("/no/such/file");
    rules.loadRulesAt(file.parent_path());
    EXPECT_TRUE(isEmpty());
    EXPECT_EQ(rules.addRulesOf("/no/such/file").failure().code, ErrorCode::NotFound);
}

TEST_F(ExclusionRuleSetTest, file_binary_isRead)
{
    const PropertyList list(PropertyList::Array{
        PropertyList(PropertyList::Dictionary{{"RuleType", "Exclude"}, {"PathEndsWithString", ".s"}})});
    writeFile(file, stringOf(*list.toBinary()));
    EXPECT_EQ(rules.addRulesOf(file).valueOr(0), 1u);
    EXPECT_EQ(match("a.s"), "suffix .s");
}

TEST_F(ExclusionRuleSetTest, file_ruleOfAMegabyte_isSkippedAndTheRestLoads)
{
    load(rule("PathContainsString", std::string(1 << 20, 'x')) + rule("PathContainsString", std::string(4096, 'y')) +
         rule("PathEndsWithString", ".s"));
    EXPECT_THAT(rules.componentRules(), UnorderedElementsAre(std::string(4096, 'y')));
    EXPECT_EQ(match("a.s"), "suffix .s");
}

TEST_F(ExclusionRuleSetTest, file_ofAHundredMegabytes_isSkippedAndTheOtherLoads)
{
    writeFile(file, "<plist version=\"1.0\"><array>" + rule("PathEndsWithString", "s") + "</array></plist>");
    std::filesystem::resize_file(file, 100u << 20);
    EXPECT_EQ(rules.addRulesOf(file).failure().code, ErrorCode::TooLarge);
    EXPECT_TRUE(isEmpty());
    load(rule("PathEndsWithString", "s"));
    EXPECT_THAT(rules.suffixRules(), UnorderedElementsAre("s"));
}

TEST_F(ExclusionRuleSetTest, bytesThatAreNoText_areComparedAsTheyAre)
{
    rules.addRuleForPathSuffix("\xFF.x");
    EXPECT_EQ(match("/a\xFF.x"), "suffix \xFF.x");
    EXPECT_EQ(match("/a\xFE.x"), "none");
    rules.addRuleForPathComponent(std::string("a\0b", 3));
    EXPECT_TRUE(rules.mustExcludePath(std::string("/xa\0by", 6)));
    EXPECT_FALSE(rules.mustExcludePath("/xab"));
}

TEST_F(ExclusionRuleSetTest, allBelow_isSaidOnlyWhereNoEndMatters)
{
    rules.addRuleForPathSuffix("/folder");
    rules.addRuleForPathEqualsTo("/exact");
    rules.addRuleForPathPrefix("/start/");
    rules.addRuleForPathComponent("/.git/");
    EXPECT_FALSE(rules.mustExcludeAllBelow("/a/folder"));
    EXPECT_FALSE(rules.mustExcludeAllBelow("/exact"));
    EXPECT_TRUE(rules.mustExcludeAllBelow("/start"));
    EXPECT_TRUE(rules.mustExcludeAllBelow("/a/.git"));
    EXPECT_TRUE(rules.mustExcludeAllBelow("/a/.git/"));
    EXPECT_FALSE(rules.mustExcludeAllBelow("/a/.github"));
}

TEST_F(ExclusionRuleSetTest, threads_thatAskTheFirstQuestionTogether_allGetTheAnswer)
{
    for (int number = 0; number < 2000; ++number)
        rules.addRuleForPathComponent("/part" + std::to_string(number) + "/");
    std::atomic<int> right = 0;
    {
        std::vector<std::jthread> threads;
        for (int number = 0; number < 8; ++number)
            threads.emplace_back([this, &right, number] {
                if (rules.mustExcludePath("/a/part" + std::to_string(number) + "/b") && !rules.mustExcludePath("/a/b"))
                    ++right;
            });
    }
    EXPECT_EQ(right, 8);
}

TEST_F(ExclusionRuleSetTest, applicationsFile_hundredThousandRealPaths_answersAsAWalkOverTheSets)
{
    constexpr int kPaths = 100000;
    ASSERT_GT(rules.addRulesOf(TAMSEL_RULES).valueOr(0), 100u);
    std::stop_source stop;
    int count = 0;
    int excluded = 0;
    const auto visit = [&](const WalkEntry &entry) {
        // Where a mounted volume would show it: the folder itself is left out as a whole.
        const std::string path = "/media/disk/" + entry.path.native().substr(entry.path.native().size() / 3);
        for (const std::string &asked : {entry.path.native(), path}) {
            const bool answer = rules.mustExcludePath(asked);
            EXPECT_EQ(answer, matchesPlainly(rules, asked)) << asked;
            excluded += answer ? 1 : 0;
            if (++count >= kPaths)
                stop.request_stop();
        }
        return true;
    };
    for (const char *root : {"/usr", "/var", "/etc", "/home", "/opt"})
        (void)FileSystem::current().walk(
            root, visit, [](const Path &, const Failure &) {}, stop.get_token());
    ASSERT_GE(count, 10000) << "this machine has hardly any files";
    EXPECT_GT(excluded, 0);
    EXPECT_LT(excluded, count);
    RecordProperty("paths", count);
}

class DamagedRules : public ExclusionRuleSetTest, public ::testing::WithParamInterface<Damage>
{
};

TEST_P(DamagedRules, addRulesOf_addsNoneAndMatchesOn)
{
    rules.addRuleForPathPrefix("/before/");
    writeFile(file, "<plist version=\"1.0\"><array><dict><key>RuleType</key><string>Exclude</string>"
                    "<key>PathContainsString</key><string>x</string></dict></array></plist>");
    GetParam().apply(file);
    const Precious precious(file);
    EXPECT_EQ(rules.addRulesOf(file).valueOr(0), 0u);
    rules.loadRulesAt(file);
    EXPECT_TRUE(rules.mustExcludePath("/before/a"));
    EXPECT_FALSE(rules.mustExcludePath("/x"));
    EXPECT_TRUE(precious.isThere());
}

INSTANTIATE_TEST_SUITE_P(, DamagedRules, ::testing::ValuesIn(Damages::kAll),
                         [](const auto &each) { return std::string(each.param.name); });
