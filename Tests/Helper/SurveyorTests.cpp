#include "Helper/Surveyor.h"

#include "Classes/PrefPane/PXExclusionRules.h"
#include "Classes/Shared/Log.h"
#include "Tests/Support/CompressedSample.h"
#include "Tests/Support/EmptyFolder.h"
#include "Tests/Support/FileContent.h"

#include <gmock/gmock.h>

#include <algorithm>

using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::SizeIs;

namespace {

std::vector<std::string> s_log;

/// Over real files: "a.one", "a.two", "in/a.one" and "in/a.rule" are compressed. A rule excludes the last.
class SurveyorTest : public ::testing::Test
{
protected:
    SurveyorTest()
    {
        s_log.clear();
        PXExclusionRules::sharedExclusionRules()->addRuleForPathSuffix(".rule");
        for (const Path &left : {paths, extensions})
            std::filesystem::remove(left);
        setLogSink([](const std::string &line) { s_log.push_back(line); });
        std::filesystem::create_directories(folder / "in");
        for (const char *name : {"a.one", "a.two", "in/a.one", "in/a.rule"})
            CompressedSample::make(folder / name, CompressedSample::text(300000));
    }
    ~SurveyorTest() override { setLogSink(nullptr); }

    static void store(const Path &file, const std::string &string)
    {
        writeFile(file, "<plist version=\"1.0\"><array><string>" + string + "</string></array></plist>");
    }
    std::uint64_t counted()
    {
        SurveyedFiles files;
        const auto result = surveyor.survey(folder, files, {}, {});
        EXPECT_TRUE(result);
        return result ? result->compressedFiles : 0;
    }

    Path folder = makeEmptyFolder("surveyed");
    Path paths = PrivateHome::current().root() / "excludedPaths.plist";
    Path extensions = PrivateHome::current().root() / "excludedExtensions.plist";
    Surveyor surveyor{paths, extensions};
};

} // namespace

TEST_F(SurveyorTest, nothingExcluded_everythingCounts)
{
    EXPECT_EQ(counted(), 4u) << "before anything was read";
    EXPECT_FALSE(surveyor.readLists());
    EXPECT_EQ(counted(), 3u) << "the rules count without lists";
}

TEST_F(SurveyorTest, listsAndRules_areObeyed)
{
    surveyor.readLists();
    store(extensions, "two");
    EXPECT_TRUE(surveyor.readLists());
    EXPECT_EQ(counted(), 2u);
    store(paths, folder / "in");
    EXPECT_TRUE(surveyor.readLists());
    EXPECT_EQ(counted(), 1u);
    std::filesystem::remove(paths);
    EXPECT_TRUE(surveyor.readLists());
    EXPECT_EQ(counted(), 2u);
}

TEST_F(SurveyorTest, damagedFile_isLoggedAgainOnlyForAnotherReason)
{
    const auto logged = [] {
        return std::ranges::count_if(s_log, [](const std::string &line) { return line.starts_with("Damaged"); });
    };
    std::filesystem::remove(folder / "._a.one");
    counted();
    EXPECT_EQ(logged(), 1);
    counted();
    EXPECT_EQ(logged(), 1);
    writeFile(folder / "._a.one", "garbage");
    counted();
    counted();
    EXPECT_EQ(logged(), 2);
}

TEST_F(SurveyorTest, listThatCannotBeRead_countsAsItWasAndIsLoggedOnce)
{
    store(extensions, "one");
    ASSERT_TRUE(surveyor.readLists());
    EXPECT_FALSE(surveyor.readLists());
    EXPECT_THAT(s_log, SizeIs(1));
    writeFile(extensions, "garbage");
    EXPECT_FALSE(surveyor.readLists());
    EXPECT_FALSE(surveyor.readLists());
    EXPECT_EQ(counted(), 1u);
    EXPECT_THAT(s_log, SizeIs(2));
    EXPECT_THAT(s_log, Contains(HasSubstr("cannot be read")));
    store(extensions, "two");
    EXPECT_TRUE(surveyor.readLists());
    EXPECT_EQ(counted(), 2u);
    EXPECT_THAT(s_log, SizeIs(3));
}
