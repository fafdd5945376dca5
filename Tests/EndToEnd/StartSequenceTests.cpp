#include "Classes/Shared/truthOf.h"
#include "Platform/DistributedNotificationCenter.h"
#include "Platform/PropertyList.h"
#include "Platform/Workspace.h"
#include "Tests/EndToEnd/StartRecording.h"
#include "Tests/Support/HelperProcess.h"
#include "Tests/Support/HostProcess.h"
#include "Tests/Support/PrivateBus.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/WaitFor.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <csignal>
#include <fstream>

namespace fs = std::filesystem;

using ::testing::UnorderedElementsAreArray;

using Lines = std::vector<std::string>;

namespace {

constexpr const char *kHelperIdentifier = "com.dovrane.TamselHelper";

const std::string kLoginItem = "~/.config/autostart/com.dovrane.TamselHelper.desktop";

const QStringList kTracedCalls =
    QStringLiteral("execve clone clone3 fork vfork sendmsg openat open creat rename renameat "
                   "renameat2 link linkat symlink symlinkat unlink unlinkat rmdir mkdir "
                   "mkdirat chmod fchmod fchmodat truncate")
        .split(QLatin1Char(' '));

/// What another thread puts on the bus for the one that asked: it may get there late, though in its order.
bool mayBeLate(const std::string &line)
{
    return line.starts_with("bus: post ") || line.starts_with("bus: call ") || line.starts_with("bus: answer");
}

Lines only(const Lines &lines, bool (*isWanted)(const std::string &))
{
    Lines wanted;
    std::ranges::copy_if(lines, std::back_inserter(wanted), isWanted);
    return wanted;
}

bool isBus(const std::string &line)
{
    return line.starts_with("bus: ");
}

bool isNoBus(const std::string &line)
{
    return !isBus(line);
}

/// Those at the head. With a bus that comes late they are told of in another order.
Lines withSortedObservers(Lines lines)
{
    const auto isObserver = [](const std::string &line) { return line.starts_with("bus: observe "); };
    std::sort(lines.begin(), std::find_if_not(lines.begin(), lines.end(), isObserver));
    return lines;
}

/// Whether exactly the expected lines were recorded, none of them before its turn. On the bus, in files and in
/// processes the order is as expected; between the bus and the rest, what may be late may be.
bool isInTurn(const Lines &recorded, const Lines &expected)
{
    const auto isPrompt = [](const std::string &line) { return !mayBeLate(line); };
    if (only(recorded, isPrompt) != only(expected, isPrompt) || only(recorded, isBus) != only(expected, isBus))
        return false;
    const auto placesOf = [](const Lines &lines) {
        std::vector<std::size_t> places;
        for (std::size_t place = 0; place < lines.size(); ++place) {
            if (mayBeLate(lines[place]))
                places.push_back(place);
        }
        return places;
    };
    return std::ranges::equal(placesOf(recorded), placesOf(expected), std::greater_equal<>());
}

MATCHER_P(HappensInTurn, expected, "")
{
    for (std::size_t i = 0; i < std::max(arg.size(), expected.size()); ++i)
        *result_listener << "\n  " << (i < expected.size() ? expected[i] : "-") << "   |   "
                         << (i < arg.size() ? arg[i] : "-");
    return isInTurn(arg, expected);
}

class StartSequence : public ::testing::Test
{
protected:
    void SetUp() override
    {
        QProcess probe;
        probe.setProcessChannelMode(QProcess::MergedChannels);
        probe.start(QStringLiteral("strace"),
                    {QStringLiteral("-o"), QStringLiteral("/dev/null"), QStringLiteral("true")});
        if (!probe.waitForFinished() || probe.exitStatus() != QProcess::NormalExit || probe.exitCode() != 0)
            GTEST_SKIP() << "System calls cannot be traced here: " << probe.readAll().toStdString()
                         << probe.errorString().toStdString();
    }

    ~StartSequence() override
    {
        host.kill();
        if (fs::exists(trace)) {
            for (const int process : recording().processesOf("TamselHelper"))
                ::kill(process, SIGKILL);
        }
    }

    /// Starts the host with the pane, lets it come to rest, ends it and compares what it and the helper did meanwhile.
    void expectStart(const Lines &ofHost, const Lines &ofHelper, const fs::path &pane = TAMSEL_PANE_BUNDLE)
    {
        existing = StartRecording::filesBelow(PrivateHome::current().root());
        host.traceTo(trace, kTracedCalls);
        host.start(pane);
        waitFor(
            [&] {
                runFor(100);
                return hostLines().size() >= ofHost.size() && helperLines().size() >= ofHelper.size();
            },
            30000);
        runFor(500); // in which nothing more must happen
        EXPECT_EQ(host.end(), 0);
        if (hasBusInTime())
            EXPECT_THAT(hostLines(), HappensInTurn(ofHost));
        else
            expectStartWithALateBus(ofHost);
        EXPECT_EQ(only(helperLines(), isNoBus), only(ofHelper, isNoBus));
        EXPECT_EQ(withSortedObservers(only(helperLines(), isBus)), withSortedObservers(only(ofHelper, isBus)));
    }

    /// What was put on the bus before there was one goes out later, each in its kind's order; none of it is missing.
    void expectStartWithALateBus(const Lines &ofHost)
    {
        const auto isPost = [](const std::string &line) { return line.starts_with("bus: post "); };
        EXPECT_EQ(only(hostLines(), isNoBus), only(ofHost, isNoBus));
        EXPECT_EQ(only(hostLines(), isPost), only(ofHost, isPost));
        EXPECT_THAT(only(hostLines(), isBus), UnorderedElementsAreArray(only(ofHost, isBus)));
    }

    /// A start that has come to its end, and whose helper has been told to quit.
    static void completeFirstStart()
    {
        HostProcess first;
        first.start();
        ASSERT_TRUE(waitFor([] { return Workspace::current().isRunning(kHelperIdentifier); }, 60000));
        ASSERT_EQ(first.end(), 0);
        ASSERT_TRUE(waitFor(
            [] {
                DistributedNotificationCenter::current().post("pellixHelperShouldQuit");
                runFor(100);
                return !Workspace::current().isRunning(kHelperIdentifier);
            },
            60000));
    }

    static void makeLoginItem()
    {
        const fs::path folder = PrivateHome::current().makeFolder("home/.config/autostart");
        std::ofstream(folder / "com.dovrane.TamselHelper.desktop")
            << "[Desktop Entry]\nType=Application\nName=Tamsel Helper\nX-Tamsel-Path=/old/TamselHelper.app\n"
               "Exec=/old/TamselHelper.app/Contents/MacOS/TamselHelper\n";
    }

    static fs::path dataFolder() { return PrivateHome::current().home() / ".local/share"; }

    StartRecording recording() const { return {trace, PrivateHome::current().root(), existing}; }
    Lines hostLines() const { return recording().linesOf({"Preferences", "TamselRenamer"}); }

    /// Each once, however often a lock is tried.
    Lines helperLines() const
    {
        Lines lines = recording().linesOf({"TamselHelper"});
        lines.erase(std::unique(lines.begin(), lines.end()), lines.end());
        return lines;
    }

    /// The host does not wait long for the bus, and what it posts before it has one goes out later.
    bool hasBusInTime() const
    {
        const Lines lines = recording().linesBeforeLoad();
        return std::ranges::find(lines, "bus: call RequestName com.dovrane.Preferences") != lines.end();
    }

    PrivateBus bus;
    HostProcess host;
    fs::path trace = PrivateHome::current().root() / "trace";
    std::set<std::string> existing;
};

// --- what is expected ---

Lines operator+(Lines lines, const Lines &more)
{
    lines.insert(lines.end(), more.begin(), more.end());
    return lines;
}

/// The lists of a user who has none yet.
Lines exclusionsAreMade(const std::string &folder)
{
    return {"file: make " + folder + "/excludedPaths.plist", "file: make " + folder + "/excludedExtensions.plist"};
}

/// The interface is made, and with it the history and the exclusion lists, in a folder that is there or not.
Lines interfaceIsMade(const std::string &folder, bool isThere)
{
    return Lines{"bus: observe pellixSavingsChanged"} + (isThere ? Lines{} : Lines{"file: make " + folder + '/'}) +
           Lines{"file: make " + folder + "/history.db.lock", "file: make " + folder + "/history.db"} +
           exclusionsAreMade(folder);
}

const Lines kHistoryIsThere = {"bus: observe pellixSavingsChanged"};

/// The load itself, once the interface is there. `settings`: what happens to the settings first.
Lines load(const std::string &folder, const Lines &settings)
{
    return Lines{"bus: observe com.dovrane.tamsel.relaunch", "process: start TamselRenamer \"\"",
                 "process: TamselRenamer ends"} +
           settings +
           Lines{"bus: post com.dovrane.tamsel.version version 1.0.0",
                 "process: start TamselHelper",
                 "bus: watch NameOwnerChanged com.dovrane.TamselHelper",
                 "bus: call NameHasOwner com.dovrane.TamselHelper",
                 "file: replace " + folder + "/defaults.plist",
                 "bus: post pellixHelperEnableUpdates",
                 "bus: observe com.dovrane.tamsel.show.history",
                 "bus: observe com.dovrane.tamsel.restarting.after.update",
                 "bus: observe com.dovrane.tamsel.quit"};
}

/// The settings are made with the built-in ones, then the first run is done.
Lines settingsAreMade(const std::string &folder)
{
    return {"file: make " + folder + "/defaults.plist", "file: replace " + folder + "/defaults.plist"};
}

/// The settings are written back as they were read.
Lines settingsAreKept(const std::string &folder)
{
    return {"file: replace " + folder + "/defaults.plist"};
}

/// The helper listens to whatever the pane posts before it can be found, and has no folder to survey. `lock`: what
/// happens to the lock of the helpers.
Lines helperStarts(const std::string &lock, const std::string &folder)
{
    return {"file: " + lock + ' ' + folder + "/helper.lock",
            "bus: observe pellixHelperShouldQuit",
            "bus: observe pellixHelperShouldKeepAlive",
            "bus: observe com.dovrane.pellix.active",
            "bus: observe pellixHelperShouldCheckForUpdates",
            "bus: observe pellixHelperEnableUpdates",
            "bus: observe pellixHelperDisableUpdates",
            "bus: observe com.dovrane.tamsel.version",
            "bus: observe com.dovrane.tamsel.visible",
            "bus: observe com.dovrane.pellix.folders",
            "bus: observe com.dovrane.pellix.excludedPaths",
            "bus: observe com.dovrane.pellix.excludedExtensions",
            "bus: call RequestName com.dovrane.TamselHelper",
            "file: open to write " + folder + "/history.db",
            "bus: post pellixSavingsChanged"};
}

class StartWithFolder : public StartSequence, public ::testing::WithParamInterface<const char *>
{
};

} // namespace

TEST_F(StartSequence, firstStart_makesWhatIsMissingAndGoesStepByStep)
{
    expectStart(interfaceIsMade("Tamsel", false) + load("Tamsel", settingsAreMade("Tamsel")),
                helperStarts("make", "Tamsel"));
    EXPECT_EQ(truthOf(PropertyList::read(dataFolder() / "Tamsel/defaults.plist")->find("firstRun")), false);
}

TEST_F(StartSequence, secondStart_makesNothingAnew)
{
    ASSERT_NO_FATAL_FAILURE(completeFirstStart());
    expectStart(kHistoryIsThere + load("Tamsel", settingsAreKept("Tamsel")), helperStarts("open to write", "Tamsel"));
}

TEST_F(StartSequence, helperRunsAlready_isStartedAllTheSameAndHandsOver)
{
    HelperProcess helper;
    ASSERT_TRUE(helper.waitUntilFound());
    expectStart(kHistoryIsThere + exclusionsAreMade("Tamsel") + load("Tamsel", settingsAreMade("Tamsel")),
                {"file: open to write Tamsel/helper.lock", "bus: call Activate", "process: TamselHelper ends"});
    EXPECT_TRUE(helper.isRunning());
}

TEST_P(StartWithFolder, existingFolder_isUsedUnderItsName)
{
    const std::string name = GetParam();
    fs::create_directories(dataFolder() / name);
    expectStart(interfaceIsMade(name, true) + load(name, settingsAreMade(name)), helperStarts("make", name));
}

INSTANTIATE_TEST_SUITE_P(Names, StartWithFolder, ::testing::Values("Pellix", "Pellixer", "Tamsel"));

TEST_F(StartSequence, foldersOfSeveralNames_theOldestServesAndTheOthersAreLeftAlone)
{
    for (const char *const name : {"Pellix", "Pellixer", "Tamsel"})
        fs::create_directories(dataFolder() / name);
    expectStart(interfaceIsMade("Pellix", true) + load("Pellix", settingsAreMade("Pellix")),
                helperStarts("make", "Pellix"));
}

TEST_F(StartSequence, updatesSwitchedOff_theHelperIsToldSo)
{
    fs::create_directories(dataFolder() / "Tamsel");
    PropertyList settings(PropertyList::Dictionary{{"firstRun", false}, {"checkUpdates", false}});
    ASSERT_TRUE(settings.write(dataFolder() / "Tamsel/defaults.plist"));
    Lines lines = interfaceIsMade("Tamsel", true) + load("Tamsel", settingsAreKept("Tamsel"));
    std::ranges::replace(lines, "bus: post pellixHelperEnableUpdates", "bus: post pellixHelperDisableUpdates");
    expectStart(lines, helperStarts("make", "Tamsel"));
}

TEST_F(StartSequence, loginItem_isRebuiltAtTheEnd)
{
    makeLoginItem();
    expectStart(interfaceIsMade("Tamsel", false) + load("Tamsel", settingsAreMade("Tamsel")) +
                    Lines{"file: replace " + kLoginItem},
                helperStarts("make", "Tamsel"));
}

TEST_F(StartSequence, paneUnderAnEarlierName_isRenamedAndAsksForARelaunch)
{
    const fs::path panes = dataFolder() / "PreferencePanes";
    fs::create_directories(panes);
    fs::copy(TAMSEL_PANE_BUNDLE, panes / "Pellix.prefPane", fs::copy_options::recursive);
    makeLoginItem();
    // From the renaming on, the helper and what else lies in the bundle is where this process does not look: the next
    // host starts the one and renews the login item.
    expectStart(interfaceIsMade("Tamsel", false) +
                    Lines{"bus: observe com.dovrane.tamsel.relaunch", "process: start TamselRenamer \"\"",
                          "file: rename PreferencePanes/Pellix.prefPane to PreferencePanes/Tamsel.prefPane",
                          "bus: post com.dovrane.tamsel.relaunch", "process: TamselRenamer ends"} +
                    settingsAreMade("Tamsel") +
                    Lines{"bus: post com.dovrane.tamsel.version version 1.0.0", "file: replace Tamsel/defaults.plist",
                          "bus: post pellixHelperEnableUpdates", "bus: observe com.dovrane.tamsel.show.history",
                          "bus: observe com.dovrane.tamsel.restarting.after.update",
                          "bus: observe com.dovrane.tamsel.quit",
                          "bus: watch NameOwnerChanged com.dovrane.TamselHelper",
                          "bus: call NameHasOwner com.dovrane.TamselHelper"},
                {}, panes / "Pellix.prefPane");
}
