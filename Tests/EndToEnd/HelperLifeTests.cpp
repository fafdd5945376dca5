#include "Tests/EndToEnd/HelperFixture.h"

#include "Platform/ThisProcess.h"
#include "Platform/Workspace.h"

#include <atomic>
#include <csignal>
#include <iostream>
#include <sched.h>
#include <thread>

namespace fs = std::filesystem;

using std::chrono::steady_clock;
using ::testing::HasSubstr;
using ::testing::Not;

namespace {

constexpr const char *kIdentifier = "com.dovrane.TamselHelper";

// Long before the walk is done; on a machine of its own it takes a few milliseconds.
constexpr std::chrono::seconds kAtOnce{5};

/// Keeps every processor busy, so that what only gets the rest hardly moves. Each has a thread of its own: left to
/// themselves they may share one while others work on the next, and what is to wait finds room there.
class BusyProcessors
{
public:
    BusyProcessors()
    {
        cpu_set_t processors;
        EXPECT_EQ(::sched_getaffinity(0, sizeof processors, &processors), 0);
        for (int processor = 0; processor < CPU_SETSIZE; ++processor) {
            if (CPU_ISSET(processor, &processors))
                m_threads.emplace_back([processor](std::stop_token stop) { keepBusy(processor, stop); });
        }
    }

private:
    static void keepBusy(int processor, const std::stop_token &stop)
    {
        cpu_set_t only;
        CPU_ZERO(&only);
        CPU_SET(processor, &only);
        ::sched_setaffinity(0, sizeof only, &only);
        while (!stop.stop_requested()) {
        }
    }

    std::vector<std::jthread> m_threads;
};

class HelperLife : public HelperFixture
{
protected:
    /// A tree that takes long to walk, on the list of a running helper, which is in the middle of it.
    void beginLongSurvey(HelperProcess &helper)
    {
        for (int i = 0; i < 200; ++i) {
            const Path inner = folder / std::to_string(i);
            fs::create_directory(inner);
            for (int j = 0; j < 100; ++j)
                fs::create_symlink("nowhere", inner / std::to_string(j)); // made in half the time of a file
        }
        ASSERT_TRUE(helper.waitUntilFound());
        busy.emplace();
        addFolders({folder});
        ASSERT_TRUE(helper.waitForLog("Watching " + folder.native()));
        runFor(50);
        ASSERT_THAT(helper.log(), Not(HasSubstr("Surveyed")));
    }

    /// How long it took after `tell` until another helper could take over: name and lock are free. The process itself
    /// is gone once its last thread has had a processor.
    std::chrono::milliseconds freeAfter(const std::function<void()> &tell)
    {
        const auto told = steady_clock::now();
        tell();
        EXPECT_TRUE(waitFor([] {
            return !Workspace::current().isRunning(kIdentifier) &&
                   ThisProcess::current().lockFile(supportFolder() / "helper.lock");
        }));
        const auto passed = std::chrono::duration_cast<std::chrono::milliseconds>(steady_clock::now() - told);
        std::cout << "Made way after " << passed.count() << " ms\n";
        return passed;
    }

    std::optional<BusyProcessors> busy;
};

} // namespace

TEST_F(HelperLife, quitNotification_inTheMiddleOfAWalk_makesWayAtOnce)
{
    HelperProcess helper;
    ASSERT_NO_FATAL_FAILURE(beginLongSurvey(helper));
    EXPECT_LT(freeAfter([&] { post("pellixHelperShouldQuit"); }), kAtOnce);
    busy.reset();
    EXPECT_EQ(helper.waitForEnd(std::chrono::seconds(30)), 0);
    EXPECT_THAT(helper.log(), Not(HasSubstr("Surveyed")));
    EXPECT_EQ(records().size(), 1u);
}

TEST_F(HelperLife, terminationSignal_inTheMiddleOfAWalk_makesWayAtOnce)
{
    HelperProcess helper;
    ASSERT_NO_FATAL_FAILURE(beginLongSurvey(helper));
    EXPECT_LT(freeAfter([&] { helper.terminate(); }), kAtOnce);
    busy.reset();
    EXPECT_EQ(helper.waitForEnd(std::chrono::seconds(30)), 0);
    EXPECT_THAT(helper.log(), Not(HasSubstr("Surveyed")));
    EXPECT_EQ(records().size(), 1u);
}

TEST_F(HelperLife, switchedOff_inTheMiddleOfAWalk_stopsAndStays)
{
    HelperProcess helper;
    ASSERT_NO_FATAL_FAILURE(beginLongSurvey(helper));
    set("<key>active</key><false/>");
    const auto told = steady_clock::now();
    post("com.dovrane.pellix.active");
    ASSERT_TRUE(helper.waitForLog("Compressing: off"));
    EXPECT_LT(steady_clock::now() - told, kAtOnce);
    const auto stopped = texts();
    busy.reset();
    runFor(500);
    EXPECT_EQ(texts(), stopped);
    EXPECT_THAT(helper.log(), Not(HasSubstr("Surveyed")));
    EXPECT_TRUE(helper.isRunning());
    set("<key>active</key><true/>");
    post("com.dovrane.pellix.active");
    // To its end would take as long as the rest of the machine likes: the survey gets only what nobody else wants.
    EXPECT_TRUE(waitFor([&] { return texts() != stopped; }, 60000));
}

TEST_F(HelperLife, secondStart_handsOverAndEnds)
{
    HelperProcess first;
    ASSERT_TRUE(first.waitUntilFound());
    HelperProcess second;
    EXPECT_EQ(second.waitForEnd(), 0);
    EXPECT_TRUE(first.waitForLog("Asked whether it runs"));
    EXPECT_TRUE(second.waitForLog("Another helper runs"));
    EXPECT_TRUE(first.isRunning());
}

TEST_F(HelperLife, severalStartsAtOnce_endWithExactlyOne)
{
    std::vector<std::unique_ptr<HelperProcess>> helpers;
    for (int i = 0; i < 4; ++i)
        helpers.push_back(std::make_unique<HelperProcess>());
    const auto running = [&] {
        return std::count_if(helpers.begin(), helpers.end(), [](const auto &helper) { return helper->isRunning(); });
    };
    EXPECT_TRUE(waitFor([&] { return running() == 1; }));
    runFor(300);
    EXPECT_EQ(running(), 1);
}

TEST_F(HelperLife, startWhileTheFirstEnds_theSecondTakesOver)
{
    HelperProcess first;
    ASSERT_TRUE(first.waitUntilFound());
    post("pellixHelperShouldQuit");
    bool isFlushed = false; // or the second may be on the bus before what was posted
    center().flush([&](bool) { isFlushed = true; });
    ASSERT_TRUE(waitFor([&] { return isFlushed; }));
    HelperProcess second;
    EXPECT_EQ(first.waitForEnd(), 0);
    EXPECT_TRUE(second.waitUntilFound());
    EXPECT_TRUE(second.isRunning());
}

TEST_F(HelperLife, killedHelper_leavesNothingInTheWayOfTheNext)
{
    HelperProcess first;
    ASSERT_TRUE(first.waitUntilFound());
    first.kill();
    HelperProcess second;
    EXPECT_TRUE(second.waitUntilFound());
    addFolders({folder});
    EXPECT_TRUE(untilTexts({"watched on 100 0"}));
}

TEST_F(HelperLife, withoutABus_startsSurveysAndIsFoundWhenTheBusComes)
{
    const std::string savings = std::to_string(makeCompressed(folder / "a", 300000));
    {
        HelperProcess helper;
        ASSERT_TRUE(helper.waitUntilFound());
        addFolders({folder});
        ASSERT_TRUE(untilTexts({"watched on 100 " + savings}));
    }
    bus.kill();
    HelperProcess helper;
    ASSERT_TRUE(helper.waitForLog("There is no session bus"));
    EXPECT_TRUE(untilTexts({"watched on 100 " + savings}));
    EXPECT_TRUE(helper.waitForLog("Surveyed " + folder.native()));
    bus.start();
    EXPECT_TRUE(waitFor([] { return Workspace::current().isRunning(kIdentifier); }));
    // Both sides come back to the bus in their own time, and what is posted meanwhile is lost.
    std::optional<int> exitCode;
    for (int attempt = 0; !exitCode && attempt < 20; ++attempt) {
        post("pellixHelperShouldQuit");
        exitCode = helper.waitForEnd(std::chrono::milliseconds(500));
    }
    EXPECT_EQ(exitCode, 0);
}

TEST_F(HelperLife, busThatNeverAnswers_theHelperStartsAndEndsAllTheSame)
{
    bus.freeze();
    HelperProcess helper;
    ASSERT_TRUE(helper.waitForLog("installed version"));
    helper.terminate();
    EXPECT_EQ(helper.waitForEnd(std::chrono::seconds(30)), 0);
}

TEST_F(HelperLife, busDiesAndReturns_theHelperListensAgain)
{
    HelperProcess helper;
    ASSERT_TRUE(helper.waitUntilFound());
    bus.kill();
    ASSERT_TRUE(helper.waitForLog("There is no session bus"));
    bus.start();
    EXPECT_TRUE(waitFor([] { return Workspace::current().isRunning(kIdentifier); }));
    addFolders({folder});
    EXPECT_TRUE(untilTexts({"watched on 100 0"}));
}

TEST_F(HelperLife, newerBundleOnTheDisk_isAnnouncedAndRunsInItsPlace)
{
    const Path bundle = PrivateHome::current().root() / "TamselHelper.app";
    fs::copy(TAMSEL_HELPER_BUNDLE, bundle, fs::copy_options::recursive);
    HelperProcess helper(bundle);
    ASSERT_TRUE(helper.waitUntilFound());
    const qint64 id = helper.id();
    int announcements = 0;
    center().addObserver("com.dovrane.tamsel.restarting.after.update", [&](const Notification &) { ++announcements; });

    std::ofstream(bundle / "Contents/Info.plist")
        << "<plist version=\"1.0\"><dict><key>CFBundleExecutable</key><string>TamselHelper</string>"
           "<key>CFBundleVersion</key><string>99.0</string></dict></plist>";
    post("pellixHelperShouldCheckForUpdates");
    ASSERT_TRUE(helper.waitForLog("Version 99.0 starts"));
    EXPECT_TRUE(waitFor([&] { return announcements == 1; }));
    EXPECT_EQ(helper.id(), id);
    addFolders({folder});
    EXPECT_TRUE(waitFor([&] {
        addFolders({folder}); // the new one may not listen yet
        runFor(100);
        return texts() == std::vector<std::string>{"watched on 100 0"};
    }));
    EXPECT_EQ(announcements, 1);
}

TEST_F(HelperLife, launchedByTheWorkspace_runsUntilToldToQuit)
{
    const auto launched = Workspace::current().launchApplication(TAMSEL_HELPER_BUNDLE);
    ASSERT_TRUE(launched) << launched.failure().context;
    // It lives on when this ends, so it must end before.
    EXPECT_TRUE(waitFor([&] {
        post("pellixHelperShouldQuit");
        runFor(50);
        return (*launched)->isTerminated();
    }));
    EXPECT_FALSE(Workspace::current().isRunning(kIdentifier));
}
