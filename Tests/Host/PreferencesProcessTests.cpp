#include "Platform/ApplicationName.h"
#include "Platform/DistributedNotificationCenter.h"
#include "Tests/Support/Panes/TestPanes.h"
#include "Tests/Support/PrivateBus.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/WaitFor.h"
#include "Tests/Support/environmentWithoutLeakCheck.h"

#include <QProcess>

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <optional>
#include <utility>

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

namespace fs = std::filesystem;

namespace {

class PreferencesProcessTest : public ::testing::Test
{
protected:
    PreferencesProcessTest()
    {
        one = makeTestPane(panes, "One", "com.one");
        two = makeTestPane(panes, "Two", "com.two");
    }

    ~PreferencesProcessTest() override
    {
        for (QProcess *const process : {&first, &second}) {
            process->kill();
            process->waitForFinished();
        }
    }

    static void start(QProcess &process, const QStringList &arguments = {})
    {
        process.setProcessChannelMode(QProcess::MergedChannels);
        if (process.processEnvironment().isEmpty())
            process.setProcessEnvironment(environmentWithoutLeakCheck());
        process.start(QStringLiteral(PREFERENCES), arguments);
        ASSERT_TRUE(process.waitForStarted());
    }

    static QStringList pane(const Path &path) { return {QStringLiteral("--pane"), QString::fromStdString(path)}; }

    bool waitForCall(const std::string &call) const
    {
        return waitFor([&] { return std::ranges::count(recording.calls(), call) > 0; });
    }

    /// Ends the process as a session does; answers its exit code, -1 when it did not end by itself.
    static int end(QProcess &process)
    {
        process.terminate();
        return waitForEnd(process);
    }

    static int waitForEnd(QProcess &process)
    {
        const bool hasEnded = waitFor([&] { return process.state() == QProcess::NotRunning; }, 30000);
        return hasEnded && process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    }

    PrivateBus bus;
    Path panes = PrivateHome::current().makeFolder("home/.local/share/PreferencePanes");
    Path one;
    Path two;
    Recording recording;
    QProcess first;
    QProcess second;
};

} // namespace

TEST_F(PreferencesProcessTest, pane_isLoadedSelectedAndLeftAtTheEnd)
{
    start(first, pane(one));
    ASSERT_TRUE(waitForCall("com.one didSelect"));
    EXPECT_EQ(end(first), 0);
    EXPECT_THAT(recording.calls(), ElementsAre("com.one loadMainView", "com.one mainViewDidLoad", "com.one didSelect",
                                               "com.one didUnselect"));
}

TEST_F(PreferencesProcessTest, end_whatThePanePostsWhenItIsLeft_reachesTheBus)
{
    int posts = 0;
    DistributedNotificationCenter &center = DistributedNotificationCenter::current();
    center.addObserver("com.dovrane.test.unselected", [&posts](const Notification &) { ++posts; });
    bool isReady = false;
    center.flush([&isReady](bool hasBus) { isReady = hasBus; });
    ASSERT_TRUE(waitFor([&] { return isReady; }));
    for (int round = 1; round <= 5; ++round) {
        start(first, pane(one));
        ASSERT_TRUE(waitFor([&] { return std::ranges::count(recording.calls(), "com.one didSelect") == round; }));
        ASSERT_EQ(end(first), 0);
        EXPECT_TRUE(waitFor([&] { return posts == round; })) << "lost in round " << round;
    }
}

TEST_F(PreferencesProcessTest, start_makesTheListOfLoginItemsAndRemembersThePane)
{
    start(first, pane(two));
    ASSERT_TRUE(waitForCall("com.two didSelect"));
    EXPECT_TRUE(fs::is_directory(PrivateHome::current().home() / ".config/autostart"));
    ASSERT_EQ(end(first), 0);
    start(second);
    EXPECT_TRUE(waitFor([&] { return std::ranges::count(recording.calls(), "com.two didSelect") == 2; }));
    EXPECT_EQ(end(second), 0);
}

TEST_F(PreferencesProcessTest, secondStart_handsOverItsPaneAndEnds)
{
    start(first, pane(one));
    ASSERT_TRUE(waitForCall("com.one didSelect"));
    start(second, pane(two));
    EXPECT_EQ(waitForEnd(second), 0);
    ASSERT_TRUE(waitForCall("com.two didSelect"));
    EXPECT_THAT(recording.calls(), ElementsAre("com.one loadMainView", "com.one mainViewDidLoad", "com.one didSelect",
                                               "com.one didUnselect", "com.two loadMainView", "com.two mainViewDidLoad",
                                               "com.two didSelect"));
    EXPECT_EQ(first.state(), QProcess::Running);
    EXPECT_EQ(end(first), 0);
}

TEST_F(PreferencesProcessTest, secondStart_withoutAPane_leavesTheShownOne)
{
    start(first, pane(one));
    ASSERT_TRUE(waitForCall("com.one didSelect"));
    start(second);
    EXPECT_EQ(waitForEnd(second), 0);
    EXPECT_EQ(recording.calls().back(), "com.one didSelect");
    EXPECT_EQ(first.state(), QProcess::Running);
}

TEST_F(PreferencesProcessTest, startAfterTheFirstHasEnded_opensAgain)
{
    start(first, pane(one));
    ASSERT_TRUE(waitForCall("com.one didSelect"));
    ASSERT_EQ(end(first), 0);
    start(second, pane(two));
    EXPECT_TRUE(waitForCall("com.two didSelect"));
    EXPECT_EQ(second.state(), QProcess::Running);
}

TEST_F(PreferencesProcessTest, request_ofACommandLine_reachesThePane)
{
    start(first, pane(one));
    ASSERT_TRUE(waitForCall("com.one didSelect"));
    std::optional<bool> hasAnswered;
    ApplicationName::current().activateOwner("com.dovrane.Preferences", {"--pane", "com.one", "--request", "off"},
                                             [&](bool answered) { hasAnswered = answered; });
    EXPECT_TRUE(waitForCall("com.one request off"));
    EXPECT_TRUE(waitFor([&] { return hasAnswered.has_value(); }) && *hasAnswered);
}

TEST_F(PreferencesProcessTest, brokenBundles_leaveTheHostRunning)
{
    fs::create_directories(panes / "Damaged.prefPane/Contents");
    std::ofstream(panes / "Damaged.prefPane/Contents/Info.plist") << "<plist";
    makeTestPane(panes, "None", "com.none", TestPlugin::None);
    makeTestPane(panes, "Text", "com.text", TestPlugin::Text);
    makeTestPane(panes, "Foreign", "com.foreign", TestPlugin::Foreign);
    makeTestPane(panes, "Throwing", "com.throwing", TestPlugin::Throwing);
    start(first, pane(two));
    ASSERT_TRUE(waitForCall("com.two didSelect"));
    const char *const broken[] = {"Damaged", "None", "Text", "Foreign", "Throwing", "Missing"};
    for (const char *const name : broken) {
        QProcess asking;
        start(asking, pane(panes / (std::string(name) + ".prefPane")));
        EXPECT_EQ(waitForEnd(asking), 0) << name;
    }
    start(second, pane(one));
    EXPECT_EQ(waitForEnd(second), 0);
    EXPECT_TRUE(waitForCall("com.one didSelect"));
    EXPECT_EQ(end(first), 0);
    const std::string log = first.readAll().toStdString();
    for (const char *const name : broken)
        EXPECT_THAT(log, HasSubstr(std::string("Could not show the pane \"") + name));
}

TEST_F(PreferencesProcessTest, withoutABus_runsAndEnds)
{
    bus.kill();
    ::unsetenv("DBUS_SESSION_BUS_ADDRESS");
    start(first, pane(one));
    ASSERT_TRUE(waitForCall("com.one didSelect"));
    EXPECT_EQ(end(first), 0);
}

TEST_F(PreferencesProcessTest, requestWhileNoPaneIsShownYet_isNotLost)
{
    start(first);
    std::optional<bool> hasAnswered;
    ASSERT_TRUE(waitFor([&] {
        ApplicationName::current().activateOwner("com.dovrane.Preferences", {"--pane", "com.one", "--request", "on"},
                                                 [&](bool answered) { hasAnswered = answered; });
        return waitFor([&] { return hasAnswered.has_value(); }) && *std::exchange(hasAnswered, std::nullopt);
    }));
    EXPECT_TRUE(waitForCall("com.one request on"));
}

TEST_F(PreferencesProcessTest, help_needsNeitherDisplayNorBus)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    environment.remove(QStringLiteral("DISPLAY"));
    first.setProcessEnvironment(environment);
    start(first, {QStringLiteral("--help")});
    EXPECT_EQ(waitForEnd(first), 0);
    EXPECT_THAT(first.readAll().toStdString(), HasSubstr("--pane BUNDLE"));
}

TEST_F(PreferencesProcessTest, wrongUse_endsWithTwo)
{
    start(first, {QStringLiteral("--nonsense")});
    EXPECT_EQ(waitForEnd(first), 2);
    EXPECT_THAT(first.readAll().toStdString(), HasSubstr("nonsense"));
}
