#include "Tests/EndToEnd/HelperFixture.h"

namespace fs = std::filesystem;

using ::testing::Contains;
using ::testing::HasSubstr;

namespace {

class HelperFolders : public HelperFixture
{
};

} // namespace

TEST_F(HelperFolders, foldersToAdd_compressedFiles_savingsAreRecordedAndAnnounced)
{
    const ByteCount savings = makeCompressed(folder / "a", 300000) + makeCompressed(folder / "b", 70000);
    std::ofstream(folder / "plain") << "not compressed";
    HelperProcess helper;
    ASSERT_TRUE(helper.waitUntilFound());
    int announcements = 0;
    center().addObserver("pellixSavingsChanged", [&](const Notification &) { ++announcements; });
    addFolders({folder});
    ASSERT_TRUE(untilTexts({"watched on 100 " + std::to_string(savings)}));
    EXPECT_TRUE(waitFor([&] { return announcements > 0; }));
    EXPECT_EQ(records().front().folder, folder.native());
    EXPECT_FALSE(records().front().alias.empty());
}

TEST_F(HelperFolders, foldersToAdd_duplicatesAndNestedFolders_countEachFileOnce)
{
    fs::create_directories(folder / "inner");
    ByteCount savings = makeCompressed(folder / "a", 300000);
    savings += makeCompressed(folder / "inner/b", 200000);
    HelperProcess helper;
    ASSERT_TRUE(helper.waitUntilFound());
    addFolders({folder / "inner", folder, folder});
    addFolders({folder});
    ASSERT_TRUE(waitFor(
        [&] {
            const auto all = records();
            return all.size() == 2 && all[0].status == 100 && all[1].status == 100 &&
                   all[0].savings + all[1].savings == savings;
        },
        60000))
        << ::testing::PrintToString(texts());
}

TEST_F(HelperFolders, foldersToRemove_oneOfTwoNested_noFileCountsTwice)
{
    fs::create_directories(folder / "inner");
    const std::string outer = std::to_string(makeCompressed(folder / "a", 300000));
    const std::string inner = std::to_string(makeCompressed(folder / "inner/b", 200000));
    HelperProcess helper;
    ASSERT_TRUE(helper.waitUntilFound());
    addFolders({folder, folder / "inner"});
    ASSERT_TRUE(untilTexts({"watched on 100 " + outer, "inner on 100 " + inner}));
    const auto isSurveyedAfter = [&](const std::string &line, const Path &surveyed) {
        const auto isSurveyed = [&] {
            const std::string log = helper.log();
            return log.find("Surveyed " + surveyed.native() + ':', log.rfind(line)) != std::string::npos;
        };
        return helper.waitForLog(line + '\n') && waitFor(isSurveyed, 60000);
    };
    const Path nested = folder / "inner";
    removeFolders({nested});
    ASSERT_TRUE(isSurveyedAfter("No longer watching " + nested.native(), folder));
    EXPECT_TRUE(untilTexts({"watched on 100 " + outer, "inner off 100 " + inner}));
    addFolders({nested});
    ASSERT_TRUE(isSurveyedAfter("Watching " + nested.native(), folder)); // the outer one comes last
    EXPECT_TRUE(untilTexts({"watched on 100 " + outer, "inner on 100 " + inner}));
    removeFolders({folder});
    ASSERT_TRUE(isSurveyedAfter("No longer watching " + folder.native(), nested));
    EXPECT_TRUE(untilTexts({"watched off 100 " + outer, "inner on 100 " + inner}));
}

TEST_F(HelperFolders, foldersToRemove_watched_isDisabledAndKeepsItsSavings)
{
    const std::string savings = std::to_string(makeCompressed(folder / "a", 300000));
    HelperProcess helper;
    ASSERT_TRUE(helper.waitUntilFound());
    addFolders({folder});
    ASSERT_TRUE(untilTexts({"watched on 100 " + savings}));
    removeFolders({folder});
    EXPECT_TRUE(untilTexts({"watched off 100 " + savings}));
}

TEST_F(HelperFolders, damagedFile_isNamedAndCountsNothing)
{
    makeCompressed(folder / "a", 300000);
    fs::resize_file(folder / "._a", 100);
    const std::string savings = std::to_string(makeCompressed(folder / "b", 70000));
    HelperProcess helper;
    ASSERT_TRUE(helper.waitUntilFound());
    addFolders({folder});
    ASSERT_TRUE(untilTexts({"watched on 100 " + savings}));
    EXPECT_TRUE(helper.waitForLog("not counted: " + (folder / "a").native()));
}

TEST_F(HelperFolders, movedFolder_whileNoHelperRuns_isFoundAgain)
{
    const std::string savings = std::to_string(makeCompressed(folder / "a", 300000));
    {
        HelperProcess helper;
        ASSERT_TRUE(helper.waitUntilFound());
        addFolders({folder});
        ASSERT_TRUE(untilTexts({"watched on 100 " + savings}));
    }
    fs::rename(folder, folder.parent_path() / "elsewhere");
    HelperProcess helper;
    ASSERT_TRUE(untilTexts({"elsewhere on 100 " + savings}));
    EXPECT_EQ(records().front().folder, (folder.parent_path() / "elsewhere").native());
}

TEST_F(HelperFolders, historyIsDamaged_itIsSetAsideAndANewOneServes)
{
    fs::create_directories(supportFolder());
    const std::string garbage(5000, 'x');
    std::ofstream(store()) << garbage;
    HelperProcess helper;
    ASSERT_TRUE(helper.waitUntilFound());
    ASSERT_TRUE(helper.waitForLog("is kept as"));
    addFolders({folder});
    ASSERT_TRUE(untilTexts({"watched on 100 0"}));
    int setAside = 0;
    for (const auto &entry : fs::directory_iterator(supportFolder())) {
        std::ifstream in(entry.path());
        setAside += std::string(std::istreambuf_iterator<char>(in), {}) == garbage;
    }
    EXPECT_EQ(setAside, 1);
}

TEST_F(HelperFolders, settings_areNeverWritten)
{
    {
        HelperProcess helper;
        ASSERT_TRUE(helper.waitUntilFound());
        addFolders({folder});
        ASSERT_TRUE(untilTexts({"watched on 100 0"}));
        EXPECT_FALSE(fs::exists(supportFolder() / "defaults.plist"));
    }
    set("<key>active</key><false/>");
    const auto before = fs::last_write_time(supportFolder() / "defaults.plist");
    HelperProcess helper;
    ASSERT_TRUE(helper.waitUntilFound());
    post("com.dovrane.pellix.active");
    post("com.dovrane.tamsel.visible");
    post("pellixHelperShouldKeepAlive");
    ASSERT_TRUE(helper.waitForLog("Asked to keep running"));
    EXPECT_EQ(fs::last_write_time(supportFolder() / "defaults.plist"), before);
}

TEST_F(HelperFolders, malformedPayloads_theHelperLivesOn)
{
    HelperProcess helper;
    ASSERT_TRUE(helper.waitUntilFound());
    post("com.dovrane.pellix.folders");
    post("com.dovrane.pellix.folders", {{"foldersToAdd", folder.native()}});
    addFolders({"", "relative", "/nowhere", folder / "../watched", std::string(5000, '/')});
    EXPECT_TRUE(waitFor([] { return !records().empty(); }));
    EXPECT_THAT(texts(), Contains(HasSubstr("watched on")));
    EXPECT_TRUE(helper.isRunning());
}
