#include "Classes/Shared/StringTrie.h"
#include "Classes/Shared/SubstringSearch.h"

#include <gmock/gmock.h>

#include <random>
#include <string>

using Strings = std::vector<std::string>;

static std::vector<std::string_view> viewsOf(const Strings &strings)
{
    return {strings.begin(), strings.end()};
}

static std::size_t lengthOfStart(const Strings &strings, const std::string &text)
{
    return StringTrie(viewsOf(strings)).lengthOfStart(text.begin(), text.end());
}

static std::string firstIn(const Strings &strings, const std::string &text)
{
    return std::string(SubstringSearch(viewsOf(strings)).firstIn(text));
}

TEST(StringTrie, nothing_isNoStart)
{
    EXPECT_EQ(lengthOfStart({}, "text"), 0u);
    EXPECT_EQ(lengthOfStart({""}, "text"), 0u);
    EXPECT_EQ(lengthOfStart({"a"}, ""), 0u);
}

TEST(StringTrie, start_isFoundWithItsLength)
{
    EXPECT_EQ(lengthOfStart({"ab", "ac", "b"}, "acd"), 2u);
    EXPECT_EQ(lengthOfStart({"ab", "ac", "b"}, "ab"), 2u);
    EXPECT_EQ(lengthOfStart({"ab", "ac", "b"}, "bcd"), 1u);
    EXPECT_EQ(lengthOfStart({"ab", "ac", "b"}, "a"), 0u);
    EXPECT_EQ(lengthOfStart({"ab", "ac", "b"}, "ad"), 0u);
    EXPECT_EQ(lengthOfStart({"ab"}, "xab"), 0u);
}

TEST(StringTrie, stringThatStartsWithAnother_isFoundAsTheShorter)
{
    EXPECT_EQ(lengthOfStart({"abc", "a", "ab"}, "abcd"), 1u);
}

TEST(StringTrie, everyByte_mayStandAnywhere)
{
    Strings strings;
    for (int byte = 0; byte < 256; ++byte)
        strings.push_back({'x', char(byte), char(255 - byte)});
    const StringTrie trie(viewsOf(strings));
    for (int byte = 0; byte < 256; ++byte) {
        const std::string right = {'x', char(byte), char(255 - byte)};
        const std::string wrong = {'x', char(byte), char(254 - byte)};
        EXPECT_EQ(trie.lengthOfStart(right.begin(), right.end()), 3u) << byte;
        EXPECT_EQ(trie.lengthOfStart(wrong.begin(), wrong.end()), 0u) << byte;
    }
}

TEST(SubstringSearch, nothing_occursNowhere)
{
    EXPECT_EQ(firstIn({}, "text"), "");
    EXPECT_EQ(firstIn({""}, "text"), "");
    EXPECT_EQ(firstIn({"a"}, ""), "");
    EXPECT_EQ(firstIn({"longer than the text"}, "text"), "");
}

TEST(SubstringSearch, string_isFoundWhereverItStands)
{
    for (const std::string text : {"needle", "a needle", "needle in hay", "nneedle", "neneedle", "needneedle"})
        EXPECT_EQ(firstIn({"needle"}, text), "needle") << text;
    for (const std::string text : {"needl", "eedle", "need le", "Needle"})
        EXPECT_EQ(firstIn({"needle"}, text), "") << text;
}

TEST(SubstringSearch, severalStrings_answerIsTheOneThatEndsFirst)
{
    EXPECT_EQ(firstIn({"she", "he", "hers"}, "ushers"), "she");
    EXPECT_EQ(firstIn({"he", "hers"}, "ushers"), "he");
    EXPECT_EQ(firstIn({"abcd", "bc"}, "abcd"), "bc");
    EXPECT_EQ(firstIn({"abcx", "bcd", "c"}, "abcd"), "c");
    EXPECT_EQ(firstIn({"abcx", "bcd"}, "abcd"), "bcd");
}

TEST(SubstringSearch, stringAtTheVeryEnd_isFoundWhateverItsLength)
{
    for (const std::string string : {"z", "yz", "xyz", "wxyz", "vwxyz"}) {
        for (const std::string before : {"", "a", "abc", "abcdefgh", "wxy", "vwxy"}) {
            EXPECT_EQ(firstIn({string, "longer"}, before + string), string) << before;
            EXPECT_EQ(firstIn({string, "z0"}, before + string), string) << before;
            EXPECT_EQ(firstIn({string + "z"}, before + string), "") << before;
        }
    }
}

TEST(SubstringSearch, randomStrings_areFoundAsOneByOneSearchFindsThem)
{
    std::mt19937 random(4711);
    const auto randomText = [&random](std::size_t longest) {
        std::string text(random() % (longest + 1), ' ');
        for (char &character : text)
            character = char('a' + random() % 3);
        return text;
    };
    int found = 0;
    for (int round = 0; round < 2000; ++round) {
        Strings strings;
        for (std::size_t count = random() % 6; count > 0; --count)
            strings.push_back(randomText(7));
        const std::string text = randomText(20);
        const auto occurs = [&text](const std::string &s) { return !s.empty() && text.find(s) != text.npos; };
        const bool isExpected = std::any_of(strings.begin(), strings.end(), occurs);
        const std::string answer = firstIn(strings, text);
        ASSERT_EQ(!answer.empty(), isExpected) << text << " in " << ::testing::PrintToString(strings);
        if (isExpected) {
            ++found;
            EXPECT_TRUE(occurs(answer));
            EXPECT_THAT(strings, ::testing::Contains(answer));
        }
    }
    EXPECT_GT(found, 500);
    EXPECT_LT(found, 1900);
}
