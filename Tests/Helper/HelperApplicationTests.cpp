#include "Helper/HelperApplication.h"

#include "Classes/PrefPane/HistoryQuery.h"
#include "Classes/Shared/Log.h"
#include "Platform/AliasManager.h"
#include "Platform/Fake/FakeApplicationName.h"
#include "Platform/Fake/FakeNotificationCenter.h"
#include "Platform/Fake/FakeThisProcess.h"
#include "Platform/Linux/LinuxAliasManager.h"
#include "Tests/Support/FileContent.h"
#include "Tests/Support/HistoryFixture.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/TestBundle.h"
#include "Tests/Support/WaitFor.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <optional>

namespace fs = std::filesystem;

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

namespace {

std::mutex s_logMutex;
std::vector<std::string> s_log;

void keepLine(const std::string &line)
{
    const std::lock_guard lock(s_logMutex);
    s_log.push_back(line);
}

std::vector<std::string> logged()
{
    const std::lock_guard lock(s_logMutex);
    return s_log;
}

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

/// A helper without a bus, whose surveys find what the test says.
class HelperApplicationTest : public ::testing::Test
{
protected:
    HelperApplicationTest()
    {
        setLogSink(keepLine);
        place.settings = PrivateHome::current().root() / "defaults.plist";
        place.excludedPaths = PrivateHome::current().root() / "excludedPaths.plist";
        place.excludedExtensions = PrivateHome::current().root() / "excludedExtensions.plist";
        place.history = {PrivateHome::current().makeFolder("support") / "history.db", HistoryFixture::seed(),
                         HistoryFixture::modelFile()};
        place.bundle = makeApplicationBundle(PrivateHome::current().root(), "Helper", "com.example.Helper", "");
        place.version = "1.0";
        setInstalledVersion("1.0");
        log = PrivateHome::current().makeFolder("folders/log");
        work = PrivateHome::current().makeFolder("folders/work");
    }
    ~HelperApplicationTest() override
    {
        isHeld = false;
        helper.reset();
        setLogSink(nullptr);
    }

    void start()
    {
        helper.emplace(place, [this](auto &&...arguments) { return survey(arguments...); });
        QObject::connect(&*helper, &HelperApplication::quitRequested, [this] { ++quits; });
        QObject::connect(&*helper, &HelperApplication::restartRequested, [this] { ++restarts; });
        helper->start();
        settle();
    }
    void settle()
    {
        registry.deliver();
        center.deliver();
    }
    void receive(const std::string &notification, const UserInfo &userInfo = {})
    {
        center.deliver({notification, userInfo});
        settle();
    }
    void addFolders(const std::vector<std::string> &folders)
    {
        receive("com.dovrane.pellix.folders", {{"foldersToAdd", folders}});
    }
    void removeFolders(const std::vector<std::string> &folders)
    {
        receive("com.dovrane.pellix.folders", {{"foldersToRemove", folders}});
    }
    void set(const std::string &dictionary)
    {
        std::ofstream(place.settings) << "<plist version=\"1.0\"><dict>" << dictionary << "</dict></plist>";
    }
    void setInstalledVersion(const std::string &version)
    {
        std::ofstream(place.bundle / "Contents/Info.plist")
            << "<plist version=\"1.0\"><dict><key>CFBundleExecutable</key><string>Helper</string>"
            << "<key>CFBundleVersion</key><string>" << version << "</string></dict></plist>";
    }

    Result<SurveyResult> survey(const Path &folder, SurveyedFiles &, const FolderSurvey::Progressed &progressed,
                                std::stop_token stop)
    {
        ++surveys;
        SurveyResult result;
        for (unsigned percent = 1; percent <= 100 && !stop.stop_requested(); ++percent) {
            progressed({percent, found * percent / 100});
            while (isHeld && percent == 50 && !stop.stop_requested())
                std::this_thread::yield();
            std::this_thread::sleep_for(std::chrono::milliseconds(stepMs));
        }
        result.savings = folder == log ? found.load() : 0;
        result.isComplete = !stop.stop_requested();
        return result;
    }

    /// Each record as "name enabled status savings", read by another connection.
    std::vector<std::string> records()
    {
        std::vector<std::string> texts;
        const auto database = HistoryFixture::openDatabase(place.history.store);
        const auto all = database->folders();
        for (const WatchedFolder &record : *all)
            texts.push_back(Path(record.folder).filename().native() + (record.isEnabled ? " on " : " off ") +
                            std::to_string(record.status) + ' ' + std::to_string(record.savings));
        return texts;
    }
    std::vector<FolderRefusal> refusals()
    {
        const auto connection = SqliteConnection::open(place.history.store, SqliteConnection::Mode::ReadOnly, 1000);
        return *HistoryQuery::refusals(**connection);
    }
    bool untilRecords(const std::vector<std::string> &expected)
    {
        const bool isReached = waitFor([&] { return records() == expected; }, 30000);
        EXPECT_EQ(records(), expected);
        return isReached;
    }

    FakeThisProcess process; // surveys at ordinary priority, which a busy machine would keep from their end
    Override<ThisProcess> processOverride{process};
    FakeNotificationCenter center;
    Override<DistributedNotificationCenter> centerOverride{center};
    FakeApplicationName::Registry registry;
    FakeApplicationName name{registry};
    Override<ApplicationName> nameOverride{name};
    HelperApplication::Place place;
    fs::path log;
    fs::path work;
    std::atomic<bool> isHeld = false;
    std::atomic<int> surveys = 0;
    std::atomic<int> stepMs = 0;
    std::atomic<ByteCount> found = 1000;
    int quits = 0;
    int restarts = 0;
    std::optional<HelperApplication> helper;
};

} // namespace

TEST_F(HelperApplicationTest, foldersToAdd_folders_areRecordedSurveyedAndAnnounced)
{
    start();
    addFolders({log, work});
    ASSERT_TRUE(untilRecords({"log on 100 1000", "work on 100 0"}));
    const auto database = HistoryFixture::openDatabase(place.history.store);
    const auto kept = database->folders();
    const auto target = AliasManager::current().resolve(kept->front().alias);
    ASSERT_TRUE(target);
    EXPECT_EQ(target->path, log);
    EXPECT_THAT(center.postedNames(), Contains("pellixSavingsChanged"));
}

TEST_F(HelperApplicationTest, foldersToAdd_sameFolderUnderSeveralPaths_isOneRecord)
{
    fs::create_symlink(log, log.parent_path() / "link");
    start();
    addFolders({log, log, log / "", log.parent_path() / "link", log / "../log"});
    addFolders({log});
    EXPECT_TRUE(untilRecords({"log on 100 1000"}));
    EXPECT_EQ(HistoryFixture::openDatabase(place.history.store)->folders()->front().folder, log.native());
}

TEST_F(HelperApplicationTest, foldersToAdd_noFolders_areLeftOut)
{
    std::ofstream(log / "file") << "x";
    start();
    addFolders({"", "folders/log", log / "file", log / "missing"});
    EXPECT_THAT(records(), IsEmpty());
    EXPECT_THAT(center.postedNames(), Not(Contains("com.dovrane.pellix.folders")));
}

TEST_F(HelperApplicationTest, foldersToAdd_whatNoUserMeans_isRefusedAnnouncedAndForgottenWithTheNext)
{
    using Reason = FolderRefusal::Reason;
    start();
    center.clearPosts();
    const fs::path support = place.history.store.parent_path();
    addFolders({"/", "/usr/lib", support, log / "gone", log});
    ASSERT_TRUE(untilRecords({"log on 100 1000"}));
    EXPECT_THAT(refusals(),
                ElementsAre(FolderRefusal{"/", Reason::WholeDisk}, FolderRefusal{"/usr/lib", Reason::System},
                            FolderRefusal{support, Reason::OwnFiles}, FolderRefusal{log / "gone", Reason::Missing}));
    removeFolders({log});
    EXPECT_EQ(refusals().size(), 4U) << "removing says nothing of them";
    addFolders({work});
    EXPECT_THAT(refusals(), IsEmpty());
}

TEST_F(HelperApplicationTest, foldersToAdd_onlyRefused_isAnnounced)
{
    start();
    center.clearPosts();
    addFolders({"/"});
    EXPECT_THAT(center.postedNames(), Contains("pellixSavingsChanged"));
    EXPECT_THAT(records(), IsEmpty());
}

TEST_F(HelperApplicationTest, start_refusalsOfAnEarlierHelper_areForgotten)
{
    start();
    addFolders({"/"});
    EXPECT_EQ(refusals().size(), 1U);
    helper.reset();
    start();
    EXPECT_THAT(refusals(), IsEmpty());
}

TEST_F(HelperApplicationTest, folders_malformedPayloads_changeNothing)
{
    start();
    receive("com.dovrane.pellix.folders");
    receive("com.dovrane.pellix.folders", {{"foldersToAdd", log.native()}});
    receive("com.dovrane.pellix.folders", {{"other", std::vector<std::string>{log.native()}}});
    EXPECT_THAT(records(), IsEmpty());
    EXPECT_THAT(logged(), Contains(HasSubstr("foldersToAdd is no array")));
}

TEST_F(HelperApplicationTest, folders_moreThanAnybodyMeans_areCut)
{
    start();
    std::vector<std::string> many(20000, work.native());
    for (int number = 0; number < 12000; ++number)
        many.push_back("missing " + std::to_string(number));
    many.push_back(log);
    removeFolders(many);
    EXPECT_THAT(logged(), Contains("com.dovrane.pellix.folders: only 10000 of foldersToRemove are taken"));
    const std::vector<std::string> lines = logged();
    EXPECT_EQ(std::ranges::count_if(lines, [](const std::string &line) { return line.starts_with("Not removed"); }),
              10000);
    addFolders({log.native() + std::string(5000, 'x'), log});
    EXPECT_TRUE(untilRecords({"log on 100 1000"}));
}

TEST_F(HelperApplicationTest, foldersToRemove_watched_isDisabledAndKeepsItsSavings)
{
    start();
    addFolders({log, work});
    ASSERT_TRUE(untilRecords({"log on 100 1000", "work on 100 0"}));
    center.clearPosts();
    removeFolders({log, log, work / "unknown"});
    EXPECT_TRUE(untilRecords({"log off 100 1000", "work on 100 0"}));
    EXPECT_TRUE(waitFor([&] { return !center.postedNames().empty(); }));
    addFolders({log});
    EXPECT_TRUE(untilRecords({"log on 100 1000", "work on 100 0"}));
}

TEST_F(HelperApplicationTest, foldersToRemove_movedFolder_isFoundByItsNewPath)
{
    start();
    addFolders({log});
    ASSERT_TRUE(untilRecords({"log on 100 1000"}));
    fs::rename(log, log.parent_path() / "moved");
    removeFolders({log.parent_path() / "moved"});
    EXPECT_TRUE(untilRecords({"log off 100 1000"}));
}

TEST_F(HelperApplicationTest, foldersToRemove_movedFolderThatHasToBeSearchedFor_isFoundByItsNewPath)
{
    LinuxAliasManager aliases(LinuxAliasManager::Handles::DoNotTry);
    Override<AliasManager> aliasesOverride(aliases);
    set("<key>active</key><false/>");
    start();
    addFolders({log, work});
    ASSERT_TRUE(untilRecords({"log on 0 0", "work on 0 0"}));
    fs::rename(log, log.parent_path() / "moved");
    removeFolders({log.parent_path() / "moved"});
    removeFolders({work}); // meanwhile
    EXPECT_TRUE(untilRecords({"log off 0 0", "work off 0 0"}));
    EXPECT_EQ(aliases.searches(), 1);
    helper.reset(); // before what it asks
}

TEST_F(HelperApplicationTest, foldersToAdd_movedFolderThatHasToBeSearchedFor_staysItsRecord)
{
    LinuxAliasManager aliases(LinuxAliasManager::Handles::DoNotTry);
    Override<AliasManager> aliasesOverride(aliases);
    set("<key>active</key><false/>");
    start();
    addFolders({log});
    ASSERT_TRUE(untilRecords({"log on 0 0"}));
    fs::rename(log, log.parent_path() / "moved");
    fs::create_directory(log);
    addFolders({log});
    EXPECT_TRUE(untilRecords({"moved on 0 0", "log on 0 0"}));
    helper.reset();
}

TEST_F(HelperApplicationTest, quit_whileAMovedFolderIsSearchedFor_theChangeIsMade)
{
    LinuxAliasManager aliases(LinuxAliasManager::Handles::DoNotTry);
    Override<AliasManager> aliasesOverride(aliases);
    set("<key>active</key><false/>");
    start();
    addFolders({log});
    ASSERT_TRUE(untilRecords({"log on 0 0"}));
    fs::rename(log, log.parent_path() / "moved");
    addFolders({work});
    helper->stop();
    EXPECT_TRUE(untilRecords({"log on 0 0", "work on 0 0"}));
    helper.reset();
}

TEST_F(HelperApplicationTest, foldersToRemove_movedAndSurveyedSince_isFoundWhereItIsNow)
{
    start();
    addFolders({log});
    ASSERT_TRUE(untilRecords({"log on 100 1000"}));
    fs::rename(log, log.parent_path() / "moved");
    addFolders({work});
    ASSERT_TRUE(untilRecords({"moved on 100 0", "work on 100 0"}));
    removeFolders({log.parent_path() / "moved"});
    EXPECT_TRUE(untilRecords({"moved off 100 0", "work on 100 0"}));
}

TEST_F(HelperApplicationTest, foldersToRemove_anotherFolderHasItsFormerPath_removesTheOneThatIsThere)
{
    set("<key>active</key><false/>");
    start();
    addFolders({log, work});
    ASSERT_TRUE(untilRecords({"log on 0 0", "work on 0 0"}));
    fs::rename(log, log.parent_path() / "old log");
    fs::rename(work, log);
    removeFolders({log});
    removeFolders({log});
    EXPECT_TRUE(untilRecords({"log on 0 0", "work off 0 0"}));
}

TEST_F(HelperApplicationTest, movedFolders_swappedNames_nextSurveyKeepsBothPlaces)
{
    start();
    addFolders({log, work});
    ASSERT_TRUE(untilRecords({"log on 100 1000", "work on 100 0"}));
    helper.reset();
    fs::rename(log, log.parent_path() / "between");
    fs::rename(work, log);
    fs::rename(log.parent_path() / "between", work);
    start();
    EXPECT_TRUE(untilRecords({"work on 100 0", "log on 100 1000"}));
}

TEST_F(HelperApplicationTest, movedFolder_nextSurvey_keepsItsPlace)
{
    start();
    addFolders({log});
    ASSERT_TRUE(untilRecords({"log on 100 1000"}));
    helper.reset();
    fs::rename(log, log.parent_path() / "moved");
    start();
    EXPECT_TRUE(untilRecords({"moved on 100 0"}));
}

TEST_F(HelperApplicationTest, movedFolder_anotherIsAddedAtItsOldPlace_bothHaveARecord)
{
    start();
    addFolders({log});
    ASSERT_TRUE(untilRecords({"log on 100 1000"}));
    fs::rename(log, log.parent_path() / "moved");
    fs::create_directory(log);
    addFolders({log});
    EXPECT_TRUE(untilRecords({"moved on 100 0", "log on 100 1000"}));
}

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
