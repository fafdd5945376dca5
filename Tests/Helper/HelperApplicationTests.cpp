#include "Platform/AliasManager.h"
#include "Tests/Helper/HelperApplicationFixture.h"

#include <algorithm>

namespace fs = std::filesystem;

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

using HelperApplicationTest = HelperApplicationFixture;

namespace {

/// Notes when what was posted.
class TimedCenter final : public DistributedNotificationCenter
{
public:
    explicit TimedCenter(DistributedNotificationCenter &center)
        : m_center(center)
    {
    }

    void post(const std::string &name, const UserInfo &userInfo) override
    {
        times[name].push_back(std::chrono::steady_clock::now());
        m_center.post(name, userInfo);
    }
    ObserverId addObserver(const std::string &name, Handler handler) override
    {
        return m_center.addObserver(name, std::move(handler));
    }
    ObserverId addObserverOfAll(Handler handler) override { return m_center.addObserverOfAll(std::move(handler)); }
    void removeObserver(ObserverId observer) override { m_center.removeObserver(observer); }
    bool isConnected() const override { return m_center.isConnected(); }
    void flush(std::function<void(bool)> done) override { m_center.flush(std::move(done)); }

    std::map<std::string, std::vector<std::chrono::steady_clock::time_point>> times;

private:
    DistributedNotificationCenter &m_center;
};

} // namespace

TEST_F(HelperApplicationTest, surveyedAgain_savingsDoNotDropUntilTheNewFigureIsWhole)
{
    start();
    addFolders({log});
    ASSERT_TRUE(untilRecords({"log on 100 1000"}));
    found = 400;
    isHeld = true;
    addFolders({log});
    ASSERT_TRUE(untilRecords({"log on 50 1000"}));
    isHeld = false;
    EXPECT_TRUE(untilRecords({"log on 100 400"}));
}

TEST_F(HelperApplicationTest, survey_announcements_areFourASecondAtMostAndOneAtTheEnd)
{
    stepMs = 15;
    TimedCenter timed(center);
    const Override<DistributedNotificationCenter> timedOverride(timed);
    start();
    addFolders({log});
    ASSERT_TRUE(waitFor(
        [&] {
            settle();
            return !records().empty() && records().front() == "log on 100 1000" && !helper->isSurveying();
        },
        60000));
    helper.reset();
    auto times = timed.times["pellixSavingsChanged"];
    ASSERT_GE(times.size(), 4u);
    times.pop_back(); // the one at the end
    for (std::size_t i = 4; i < times.size(); ++i)
        EXPECT_GT(times[i] - times[i - 4], std::chrono::seconds(1)) << "announcement " << i;
}

TEST_F(HelperApplicationTest, active_switchedOffAndOn_stopsAndStartsTheSurvey)
{
    isHeld = true;
    start();
    addFolders({log});
    ASSERT_TRUE(untilRecords({"log on 50 500"}));
    set("<key>active</key><false/>");
    receive("com.dovrane.pellix.active");
    EXPECT_FALSE(helper->isSurveying());
    EXPECT_EQ(quits, 0);
    receive("com.dovrane.pellix.active");
    EXPECT_EQ(surveys, 1);
    isHeld = false;
    set("<key>active</key><true/>");
    receive("com.dovrane.pellix.active");
    EXPECT_TRUE(untilRecords({"log on 100 1000"}));
    EXPECT_EQ(surveys, 2);
}

TEST_F(HelperApplicationTest, settings_damaged_areLoggedOnceUntilTheyChange)
{
    const auto count = [] {
        const std::vector<std::string> lines = logged();
        return std::ranges::count_if(lines,
                                     [](const std::string &line) { return line.starts_with("Settings cannot"); });
    };
    std::ofstream(place.settings) << "<plist version=\"1.0\"><array/></plist>";
    start();
    for (int time = 0; time < 3; ++time)
        receive("com.dovrane.pellix.active");
    EXPECT_EQ(count(), 1);
    set("<key>active</key><false/>");
    receive("com.dovrane.pellix.active");
    EXPECT_EQ(count(), 1);
    std::ofstream(place.settings) << "<plist";
    receive("com.dovrane.pellix.active");
    EXPECT_EQ(count(), 2);
}

TEST_F(HelperApplicationTest, active_offFromTheBeginning_foldersAreRecordedOnly)
{
    set("<key>active</key><false/>");
    start();
    addFolders({log});
    EXPECT_TRUE(untilRecords({"log on 0 0"}));
    EXPECT_THAT(center.postedNames(), Contains("pellixSavingsChanged"));
    runFor(50);
    EXPECT_EQ(surveys, 0);
}

TEST_F(HelperApplicationTest, quit_inTheMiddleOfASurvey_isAskedForAndStopsIt)
{
    isHeld = true;
    start();
    addFolders({log});
    ASSERT_TRUE(untilRecords({"log on 50 500"}));
    receive("pellixHelperShouldQuit");
    EXPECT_EQ(quits, 1);
    EXPECT_TRUE(waitFor([this] { return helper->stop(); })) << "it waits only a moment each time";
}

TEST_F(HelperApplicationTest, quitNotification_anotherStartsMeanwhile_isNotToldThatAHelperRuns)
{
    start();
    FakeApplicationName other{registry};
    std::vector<bool> answers;
    const auto ask = [&] {
        other.activateOwner(HelperApplication::kIdentifier, {},
                            [&](bool isAnswered) { answers.push_back(isAnswered); });
        settle();
    };
    ask();
    receive("pellixHelperShouldQuit");
    ask();
    EXPECT_THAT(answers, ElementsAre(true, false));
}

TEST_F(HelperApplicationTest, update_newerBundle_isAnnouncedOnceAndWorkEnds)
{
    start();
    setInstalledVersion("1.0");
    receive("pellixHelperShouldCheckForUpdates");
    setInstalledVersion("0.9");
    receive("pellixHelperShouldCheckForUpdates");
    EXPECT_THAT(center.postedNames(), Not(Contains("com.dovrane.tamsel.restarting.after.update")));
    setInstalledVersion("1.0.1");
    receive("pellixHelperShouldCheckForUpdates");
    receive("pellixHelperShouldCheckForUpdates");
    EXPECT_EQ(restarts, 1);
    EXPECT_THAT(center.postedNames(), Contains("com.dovrane.tamsel.restarting.after.update").Times(1));
}

TEST_F(HelperApplicationTest, update_withoutAProgram_isLeftUntilItIsWhole)
{
    start();
    const Path program = place.bundle / "Contents/MacOS/Helper";
    ASSERT_TRUE(std::filesystem::exists(program));
    std::filesystem::permissions(program, std::filesystem::perms(0644));
    setInstalledVersion("2.0");
    receive("pellixHelperShouldCheckForUpdates");
    EXPECT_EQ(restarts, 0);
    EXPECT_THAT(center.postedNames(), Not(Contains("com.dovrane.tamsel.restarting.after.update")));
    std::filesystem::permissions(program, std::filesystem::perms(0755));
    receive("pellixHelperShouldCheckForUpdates");
    EXPECT_EQ(restarts, 1);
}

TEST_F(HelperApplicationTest, update_automaticChecks_followTheSettings)
{
    set("<key>checkUpdates</key><false/>");
    setInstalledVersion("2.0");
    start();
    EXPECT_EQ(restarts, 0);
    receive("pellixHelperEnableUpdates");
    EXPECT_EQ(restarts, 0) << "the file still says no";
    set("<key>checkUpdates</key><true/>");
    receive("pellixHelperEnableUpdates");
    EXPECT_EQ(restarts, 1);
}

TEST_F(HelperApplicationTest, notices_withNothingToDo_areLogged)
{
    start();
    receive("pellixHelperShouldKeepAlive");
    receive("com.dovrane.tamsel.version", {{"version", "1.0"}});
    EXPECT_THAT(logged(), Contains("Asked to keep running"));
    EXPECT_THAT(logged(), Not(Contains(HasSubstr("The pane has version"))));
    receive("com.dovrane.tamsel.version", {{"version", "1.1"}});
    receive("com.dovrane.tamsel.version");
    receive("com.dovrane.tamsel.version", {{"version", std::vector<std::string>{"1.1"}}});
    EXPECT_THAT(logged(), Contains("The pane has version 1.1, this is version 1.0").Times(1));
    set("<key>visible</key><false/>");
    receive("com.dovrane.tamsel.visible");
    EXPECT_THAT(logged(), Contains("Visible: off"));
}

TEST_F(HelperApplicationTest, exclusionLists_changed_areReadLoggedOnceAndSurveyedBy)
{
    start();
    addFolders({log});
    ASSERT_TRUE(waitFor([this] { return surveys == 1 && !helper->isSurveying(); }));
    receive("com.dovrane.pellix.excludedPaths");
    EXPECT_FALSE(helper->isSurveying()) << "the lists are as they were";
    writeFile(place.excludedPaths, "<plist version=\"1.0\"><array><string>/a</string></array></plist>");
    receive("com.dovrane.pellix.excludedPaths");
    EXPECT_TRUE(helper->isSurveying());
    writeFile(place.excludedExtensions, "<plist version=\"1.0\"><array><string>b</string></array></plist>");
    receive("com.dovrane.pellix.excludedExtensions");
    receive("com.dovrane.pellix.excludedExtensions");
    EXPECT_THAT(logged(), Contains("Excluded: 1 paths, 0 extensions").Times(1));
    EXPECT_THAT(logged(), Contains("Excluded: 1 paths, 1 extensions").Times(1));
}

TEST_F(HelperApplicationTest, exclusionLists_changedWhileOff_startNoSurvey)
{
    set("<key>active</key><false/>");
    start();
    writeFile(place.excludedPaths, "<plist version=\"1.0\"><array><string>/a</string></array></plist>");
    receive("com.dovrane.pellix.excludedPaths");
    EXPECT_FALSE(helper->isSurveying());
    EXPECT_THAT(logged(), Contains("Excluded: 1 paths, 0 extensions"));
}

TEST_F(HelperApplicationTest, start_withoutABus_surveysOnceAndReadsTheSettingsWhenItComes)
{
    set("<key>active</key><true/>");
    {
        const auto database = HistoryFixture::openDatabase(place.history.store);
        ASSERT_TRUE(database->addFolder(log.native(), *AliasManager::current().newAlias(log)));
    }
    registry.setConnected(false);
    center.setConnected(false);
    start();
    ASSERT_TRUE(untilRecords({"log on 100 1000"}));
    set("<key>active</key><false/>");
    registry.setConnected(true);
    center.setConnected(true);
    settle();
    EXPECT_THAT(logged(), Contains("Compressing: off"));
    EXPECT_EQ(surveys, 1);
}

TEST_F(HelperApplicationTest, history_cannotBeOpened_isTriedAgainWithTheNextFolder)
{
    fs::create_directory(place.history.store);
    start();
    addFolders({log});
    EXPECT_THAT(logged(), Contains(HasSubstr("The history cannot be opened")));
    fs::remove(place.history.store);
    addFolders({log});
    EXPECT_TRUE(untilRecords({"log on 100 1000"}));
}
