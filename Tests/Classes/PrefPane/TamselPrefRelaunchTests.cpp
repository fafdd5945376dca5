#include "Platform/UserFolders.h"
#include "Tests/Classes/PrefPane/PaneFixture.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/WaitFor.h"

#include <QCoreApplication>
#include <QDialog>
#include <QPushButton>

#include <gmock/gmock.h>

#include <fstream>

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

class TamselPrefRelaunchTest : public PaneFixture
{
protected:
    static std::string relaunchOf(const fs::path &path, const std::string &tool = "relaunch")
    {
        return tool + " [" + path.native() + "] [" + std::to_string(QCoreApplication::applicationPid()) + "]";
    }
    static fs::path copy() { return UserFolders::current().temporary().valueOr({}).native() + "relaunch"; }
    static fs::path folder() { return PrivateHome::current().makeFolder("panes"); }
};

constexpr const char *kRelaunchAlert = "Relaunch Needed|This product is now called Tamsel. System Preferences will now "
                                       "be relaunched to apply this change.|OK";

} // namespace

TEST_F(TamselPrefRelaunchTest, restartAfterUpdate_armsTheRelaunchOfTheHost)
{
    load();
    hear("com.dovrane.tamsel.restarting.after.update");
    EXPECT_TRUE(waitForLine(relaunchOf("/opt/host/Preferences.app")));
    EXPECT_EQ(fs::status(copy()).permissions(), fs::perms(0755));
    runFor(50);
    EXPECT_EQ(host.terminations(), 0) << "the tool waits for the host, which goes on";
}

TEST_F(TamselPrefRelaunchTest, anEarlierCopy_isRunAsItIs)
{
    load();
    std::ofstream(copy()) << "#!/bin/sh\necho \"earlier [$1] [$2]\" >> " << journal.file().native() << '\n';
    fs::permissions(copy(), fs::perms(0755));
    pane().relaunchSystemPreferences();
    EXPECT_TRUE(waitForLine(relaunchOf("/opt/host/Preferences.app", "earlier")));
}

TEST_F(TamselPrefRelaunchTest, aLinkInTheCopysPlace_isNotWrittenThrough)
{
    load();
    const fs::path precious = folder() / "precious";
    std::ofstream(precious) << "precious";
    fs::create_symlink(precious, copy());
    pane().relaunchSystemPreferences();
    std::string content;
    std::ifstream(precious) >> content;
    EXPECT_EQ(content, "precious");
}

TEST_F(TamselPrefRelaunchTest, aMissingTool_isOnlyLogged)
{
    fs::remove_all(helperPath());
    load();
    log().clear();
    pane().relaunchSystemPreferences();
    EXPECT_THAT(log(), ElementsAre("The relaunch tool could not be started: " + copy().native()));
}

TEST_F(TamselPrefRelaunchTest, aMissingHelper_letsNoToolOfTheWorkingDirectoryRun)
{
    const fs::path planted = "Contents/Frameworks/Sparkle.framework/Resources/relaunch";
    fs::current_path(folder());
    fs::create_directories(planted.parent_path());
    std::ofstream(planted) << "#!/bin/sh\n";
    fs::remove_all(helperPath());
    load();
    pane().relaunchSystemPreferences();
    EXPECT_EQ(*pane().relauncherPath(), "/" + planted.native());
    EXPECT_FALSE(fs::exists(copy()));
}

TEST_F(TamselPrefRelaunchTest, rename_warnsAndThenRelaunchesWithThePane)
{
    load();
    journal.clear();
    hear("com.dovrane.tamsel.relaunch");
    EXPECT_EQ(alertText(), kRelaunchAlert);
    EXPECT_THAT(host.activations(), ElementsAre(true, true));
    EXPECT_THAT(journal.lines(), IsEmpty());
    endAlert();
    EXPECT_EQ(host.terminations(), 0) << "it ends after a moment";
    EXPECT_TRUE(waitForLine(relaunchOf(bundlePath())));
    EXPECT_EQ(journal.lines().front(), "post pellixHelperShouldQuit");
    EXPECT_TRUE(waitFor([this] { return host.terminations() == 1; }));
}

TEST_F(TamselPrefRelaunchTest, warningEndedInAnotherWay_relaunchesToo)
{
    load();
    hear("com.dovrane.tamsel.relaunch");
    host.attachedSheet(&window)->done(0);
    EXPECT_TRUE(waitFor([this] { return host.terminations() == 1; }));
    EXPECT_TRUE(hasLine("post pellixHelperShouldQuit"));
}

TEST_F(TamselPrefRelaunchTest, renameWithoutAKeyWindow_isRetried)
{
    load();
    host.setKeyWindow(nullptr);
    hear("com.dovrane.tamsel.relaunch");
    runFor(600);
    EXPECT_EQ(alertText(), "");
    host.setKeyWindow(&window);
    EXPECT_TRUE(waitFor([this] { return alertText() == kRelaunchAlert; }));
}

TEST_F(TamselPrefRelaunchTest, legacyNames_becomeThePresentOne)
{
    for (const char *legacy : {"Pellix.prefPane", "Pellixer.prefPane"}) {
        fs::remove_all(folder());
        fs::remove(copy());
        const fs::path before = folder() / legacy;
        const fs::path after = folder() / "Tamsel.prefPane";
        makePane(before);
        pane().relaunchSystemPreferences(); // arms `relauncherPath` under the legacy name
        EXPECT_THAT(*pane().relauncherPath(), testing::StartsWith(before.native()));
        EXPECT_TRUE(waitForLine(relaunchOf("/opt/host/Preferences.app")));
        fs::remove(copy());
        fs::rename(before, after); // as the renamer does

        journal.clear();
        host.setKeyWindow(&window);
        pane().warnAndRelaunchSystemPreferences();
        endAlert();
        EXPECT_TRUE(waitForLine(relaunchOf(after))) << legacy;
        EXPECT_EQ(*pane().relauncherPath(),
                  (after / "Contents/Resources/TamselHelper.app/Contents/Frameworks/Sparkle.framework/Resources/"
                           "relaunch")
                      .native());
    }
}

TEST_F(TamselPrefRelaunchTest, uninstall_goesThroughItsSteps)
{
    loginWindow.addOther("other", "/opt/other/Other.app");
    load();
    pane().setAutorunAtLogin(true);
    journal.clear();
    pane().confirmUninstall();
    ASSERT_EQ(host.attachedSheet(&window), pane().uninstallSheet());
    EXPECT_THAT(journal.lines(), IsEmpty()) << "nothing happens before it is confirmed";

    pane().uninstall();
    EXPECT_EQ(host.attachedSheet(&window), pane().restartSheet());
    EXPECT_FALSE(pane().autorunAtLogin());
    EXPECT_EQ(loginWindow.copyItems()->value().size(), 1u);
    EXPECT_TRUE(waitForLine(relaunchOf("/opt/host/Preferences.app")));
    EXPECT_TRUE(hasLine("TamselRemover []"));
    const std::vector<std::string> lines = journal.lines();
    EXPECT_LT(std::find(lines.begin(), lines.end(), "post pellixHelperShouldQuit"),
              std::find(lines.begin(), lines.end(), "TamselRemover []"));
    EXPECT_EQ(host.terminations(), 0);

    pane().restart();
    EXPECT_EQ(host.attachedSheet(&window), nullptr);
    EXPECT_EQ(host.terminations(), 1);
}

TEST_F(TamselPrefRelaunchTest, uninstalled_asksForTheRestart)
{
    std::ofstream(bundlePath() / "Contents/Resources/TamselRemover") << "#!/bin/sh\nrm -r " << bundlePath().native();
    load();
    pane().uninstall();
    ASSERT_FALSE(fs::exists(bundlePath()));
    EXPECT_EQ(pane().restartSheet()->windowTitle(), QStringLiteral("System Preferences needs a restart"));
    EXPECT_TRUE(waitForLine(relaunchOf("/opt/host/Preferences.app"))) << "its tool was taken out of the bundle before";
}

TEST_F(TamselPrefRelaunchTest, uninstallThatLeavesTheBundle_saysSo)
{
    load();
    pane().uninstall();
    ASSERT_TRUE(fs::exists(bundlePath()));
    EXPECT_EQ(pane().restartSheet()->windowTitle(), QStringLiteral("Tamsel could not be removed"));
    EXPECT_THAT(pane().restartSheet()->accessibleDescription().toStdString(), HasSubstr(bundlePath().native()));
}

TEST_F(TamselPrefRelaunchTest, sheetsButtons_doWhatTheySay)
{
    load();
    pane().confirmUninstall();
    pane().confirmUninstall();
    pane().uninstallSheet()->findChildren<QPushButton *>().back()->click(); // Cancel
    EXPECT_EQ(host.attachedSheet(&window), nullptr);
    EXPECT_TRUE(pane().uninstallSheet()->isHidden());

    pane().confirmUninstall();
    pane().uninstallSheet()->reject(); // Escape
    EXPECT_EQ(host.attachedSheet(&window), nullptr);
    EXPECT_FALSE(hasLine("TamselRemover []"));

    pane().confirmUninstall();
    pane().uninstallSheet()->findChildren<QPushButton *>().front()->click(); // Uninstall
    EXPECT_TRUE(hasLine("TamselRemover []"));
    ASSERT_EQ(host.attachedSheet(&window), pane().restartSheet());
    pane().restartSheet()->findChildren<QPushButton *>().back()->click(); // Later
    EXPECT_EQ(host.attachedSheet(&window), nullptr);
    EXPECT_EQ(host.terminations(), 0);
}
