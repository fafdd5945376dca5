#include "Classes/PrefPane/PXDefaultsController.h"
#include "Platform/Linux/Descriptor.h"
#include "Tests/Classes/PrefPane/PaneFixture.h"
#include "Tests/Support/WaitFor.h"

#include <QAbstractButton>
#include <QDragEnterEvent>
#include <QLabel>
#include <QMimeData>
#include <QTabWidget>
#include <QTableView>
#include <QUrl>

#include <gmock/gmock.h>

#include <array>

#include <sys/inotify.h>
#include <unistd.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace fs = std::filesystem;

namespace {

/// What has been moved into a folder, over an earlier file or not, since this was made.
class Replacements final
{
public:
    explicit Replacements(const fs::path &folder)
    {
        // Without the leaving of the earlier name between them, two arrivals would be told as one.
        EXPECT_GE(::inotify_add_watch(m_descriptor.get(), folder.c_str(), IN_MOVED_FROM | IN_MOVED_TO), 0);
    }

    int countOf(const std::string &name) const
    {
        alignas(inotify_event) std::array<char, 65536> buffer = {};
        int count = 0;
        for (ssize_t length; (length = ::read(m_descriptor.get(), buffer.data(), buffer.size())) > 0;) {
            for (ssize_t at = 0; at < length;) {
                const auto *const event = reinterpret_cast<const inotify_event *>(buffer.data() + at);
                count += (event->mask & IN_MOVED_TO) && event->name == name;
                at += ssize_t(sizeof(inotify_event) + event->len);
            }
        }
        return count;
    }

private:
    Descriptor m_descriptor{::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)};
};

class TamselPrefTest : public PaneFixture
{
protected:
    static PXDefaultsController *settings() { return PXDefaultsController::sharedDefaultsController(); }

    static void writeSettings(const std::vector<std::pair<const char *, bool>> &values)
    {
        PropertyList list;
        for (const auto &[key, value] : values)
            list.set(key, value);
        fs::create_directories(supportFolder());
        ASSERT_TRUE(list.write(supportFolder() / "defaults.plist"));
    }

    static PropertyList writtenSettings()
    {
        return PropertyList::read(supportFolder() / "defaults.plist").valueOr(PropertyList("unreadable"));
    }
};

} // namespace

TEST_F(TamselPrefTest, firstLoad_followsTheSequence)
{
    loadView();
    EXPECT_THAT(journal.lines(), ElementsAre("observe pellixSavingsChanged"));
    EXPECT_FALSE(fs::exists(supportFolder() / "defaults.plist")) << "the settings are not made with the interface";
    journal.clear();

    host.setKeyWindow(&window);
    pane().mainViewDidLoad();
    EXPECT_THAT(journal.lines(),
                ElementsAre("observe com.dovrane.tamsel.relaunch", "TamselRenamer []",
                            "post com.dovrane.tamsel.version", "launch TamselHelper.app",
                            "post pellixHelperEnableUpdates", "observe com.dovrane.tamsel.show.history",
                            "observe com.dovrane.tamsel.restarting.after.update", "observe com.dovrane.tamsel.quit"));
    EXPECT_THAT(host.activations(), ElementsAre(true));
    EXPECT_EQ(loginWindow.stores(), 0);

    PropertyList expected;
    expected.set("firstRun", false);
    expected.set("folderAliases", PropertyList::Array());
    for (const char *key : {"active", "runAtLogin", "checkUpdates", "visible"})
        expected.set(key, true);
    EXPECT_EQ(writtenSettings(), expected);
    EXPECT_TRUE(fs::exists(supportFolder() / "history.db"));
    EXPECT_EQ(termination.count(), 0);
}

TEST_F(TamselPrefTest, laterLoad_runsNoFirstRunInitialisation)
{
    writeSettings({{"firstRun", false}, {"checkUpdates", false}});
    const Replacements replaced(supportFolder());
    load();
    EXPECT_EQ(replaced.countOf("defaults.plist"), 2) << "written back when it is read, and with the update setting";
    PropertyList expected;
    expected.set("firstRun", false);
    expected.set("checkUpdates", false);
    EXPECT_EQ(writtenSettings(), expected);
    EXPECT_TRUE(hasLine("post pellixHelperDisableUpdates"));
    EXPECT_FALSE(hasLine("post pellixHelperEnableUpdates"));
}

TEST_F(TamselPrefTest, firstRun_isDoneOnceForEver)
{
    const auto firstStart = [this] {
        load();
        ::_exit(settings()->firstRun() ? 1 : 0);
    };
    EXPECT_EXIT(firstStart(), testing::ExitedWithCode(0), "");
    EXPECT_FALSE(settings()->firstRun());
}

TEST_F(TamselPrefTest, load_showsAndTellsTheVersion)
{
    load();
    EXPECT_EQ(pane().versionNumberTextField()->text(), QStringLiteral("1.2.3"));
    ASSERT_EQ(center.posts().front().name, "com.dovrane.tamsel.version");
    EXPECT_EQ(center.posts().front().userInfo, (UserInfo{{"version", "1.2.3"}}));
}

TEST_F(TamselPrefTest, loadWithARunningHelper_launchesAllTheSame_selectionDoesNot)
{
    workspace.setRunningElsewhere("com.dovrane.TamselHelper", true);
    load();
    EXPECT_EQ(workspace.launched().size(), 1u);
    pane().didSelect();
    EXPECT_EQ(workspace.launched().size(), 1u);
}

TEST_F(TamselPrefTest, loadWithoutAKeyWindow_renamesOnceThereIsOne)
{
    loadView();
    pane().mainViewDidLoad();
    EXPECT_FALSE(hasLine("TamselRenamer []"));
    EXPECT_FALSE(pane().relauncherPath());
    EXPECT_TRUE(hasLine("launch TamselHelper.app")) << "the rest of the load waits for nothing";
    runFor(700);
    EXPECT_FALSE(hasLine("TamselRenamer []"));
    host.setKeyWindow(&window);
    EXPECT_TRUE(waitForLine("TamselRenamer []"));
    EXPECT_EQ(*pane().relauncherPath(),
              (helperPath() / "Contents/Frameworks/Sparkle.framework/Resources/relaunch").native());
}

TEST_F(TamselPrefTest, loadWithNothing_noBusNoListNoHelper_stands)
{
    center.setConnected(false);
    fs::remove_all(helperPath());
    fs::remove(bundlePath() / "Contents/Resources/TamselRenamer");
    load();
    pane().didSelect();
    EXPECT_THAT(center.posts(), IsEmpty());
    EXPECT_THAT(workspace.launched(), IsEmpty());
    EXPECT_TRUE(pane().toggleActiveButton()->isChecked());
}

TEST_F(TamselPrefTest, didSelect_launchesAHelperThatHasEnded)
{
    load();
    workspace.end("com.dovrane.TamselHelper");
    EXPECT_EQ(workspace.launched().size(), 1u) << "its end alone triggers nothing";
    pane().didSelect();
    EXPECT_EQ(workspace.launched().size(), 2u);
    EXPECT_THAT(host.activations(), ElementsAre(true, false));
}

TEST_F(TamselPrefTest, didSelect_showsTheStoredStateWithoutMoving)
{
    for (const bool isActive : {false, true}) {
        writeSettings({{"active", isActive}});
        if (!isActive)
            load();
        else
            settings()->reload();
        pane().didSelect();
        EXPECT_EQ(pane().toggleActiveButton()->isChecked(), isActive);
        EXPECT_EQ(pane().toggleActiveButton()->x(), isActive ? 142 : 89);
    }
}

TEST_F(TamselPrefTest, didUnselect_endsOnlyAHelperThatIsOff)
{
    load();
    pane().didSelect();
    journal.clear();
    pane().didUnselect();
    EXPECT_THAT(journal.lines(), IsEmpty());
    pane().didSelect();
    pane().toggleActive(nullptr);
    EXPECT_THAT(journal.lines(), ElementsAre("post com.dovrane.pellix.active"));
    pane().didUnselect();
    EXPECT_THAT(journal.lines(), ElementsAre("post com.dovrane.pellix.active", "post pellixHelperShouldQuit"));
}

TEST_F(TamselPrefTest, showHistory_isHeardAndSelectsTheFirstTab)
{
    load();
    pane().tabView()->setCurrentIndex(3);
    hear("com.dovrane.tamsel.show.history");
    EXPECT_EQ(pane().tabView()->currentIndex(), 0);
}

TEST_F(TamselPrefTest, quit_isHeardAndEndsTheHost)
{
    load();
    EXPECT_EQ(host.terminations(), 0);
    hear("com.dovrane.tamsel.quit");
    EXPECT_EQ(host.terminations(), 1);
}

TEST_F(TamselPrefTest, visible_isToldEachTimeItIsSet)
{
    load();
    journal.clear();
    settings()->setVisible(false);
    settings()->setVisible(false);
    EXPECT_THAT(journal.lines(), ElementsAre("post com.dovrane.tamsel.visible", "post com.dovrane.tamsel.visible"));
}

TEST_F(TamselPrefTest, actions_askTheHelperAndOpenThePages)
{
    load();
    journal.clear();
    pane().checkForUpdates();
    EXPECT_THAT(journal.lines(), ElementsAre("post pellixHelperShouldCheckForUpdates"));
    pane().help();
    pane().visitSite();
    EXPECT_THAT(workspace.opened(),
                ElementsAre("https://www.tamsel.example/tamsel/FAQ.html", "https://www.tamsel.example/"));
}

TEST_F(TamselPrefTest, requests_switchOnlyWhereItIsNotSoAlready)
{
    load();
    pane().didSelect();
    journal.clear();
    pane().handleRequest("on");
    pane().handleRequest("somersault");
    EXPECT_THAT(journal.lines(), IsEmpty());
    pane().handleRequest("off");
    EXPECT_FALSE(settings()->helperActive());
    pane().handleRequest("off");
    EXPECT_THAT(journal.lines(), ElementsAre("post com.dovrane.pellix.active"));
    pane().handleRequest("on");
    EXPECT_TRUE(settings()->helperActive());
}

TEST_F(TamselPrefTest, requestBeforeTheFirstSelection_looksAtTheStoredState)
{
    load();
    journal.clear();
    pane().handleRequest("on");
    EXPECT_THAT(journal.lines(), IsEmpty());
    pane().handleRequest("off");
    EXPECT_FALSE(settings()->helperActive());
    EXPECT_FALSE(pane().toggleActiveButton()->isChecked());
}

TEST_F(TamselPrefTest, theHostTakingItsViewAway_leavesThePaneStanding)
{
    load();
    pane().didSelect();
    delete pane().tabView()->window()->findChild<QWidget *>(QStringLiteral("TamselPref"));
    EXPECT_EQ(pane().tabView(), nullptr);
    hear("com.dovrane.tamsel.show.history");
    settings()->setHelperActive(false);
    settings()->setAutorunAtLogin(false);
    pane().addBubble();
    pane().handleRequest("on");
    pane().didSelect();
    pane().didUnselect();
}
