#include "Classes/PrefPane/PXHistoryController.h"
#include "Tests/Classes/PrefPane/PaneFixture.h"

#include <gmock/gmock.h>

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

class TamselPrefHelperTest : public PaneFixture
{
protected:
    void setMode(unsigned mode) const
    {
        fs::permissions(helperPath() / "Contents/MacOS/TamselHelper", fs::perms(mode));
    }
};

constexpr const char *kPermissionsAlert =
    "Permissions Issue|Tamsel Helper application has the wrong permissions, and will probably not run. Please "
    "reinstall Tamsel or change the permissions manually, or contact support.|OK";

} // namespace

TEST_F(TamselPrefHelperTest, rightPermissions_causeNoAlert)
{
    load();
    EXPECT_EQ(alertText(), "");
    EXPECT_EQ(workspace.launched(), std::vector<Path>{helperPath()});
}

TEST_F(TamselPrefHelperTest, otherPermissions_causeOneAlertInTheProcess)
{
    setMode(0775);
    load();
    EXPECT_EQ(alertText(), kPermissionsAlert);
    EXPECT_EQ(workspace.launched().size(), 1u) << "it is launched all the same";
    endAlert();
    EXPECT_EQ(alertText(), "");
    pane().launchHelper();
    EXPECT_EQ(alertText(), "");
    EXPECT_EQ(workspace.launched().size(), 2u);
}

TEST_F(TamselPrefHelperTest, otherPermissionsBeforeThereIsAKeyWindow_areToldOnTheMainWindow)
{
    setMode(0775);
    loadView();
    pane().mainViewDidLoad();
    EXPECT_EQ(alertText(), kPermissionsAlert);
}

TEST_F(TamselPrefHelperTest, unreadablePermissions_areIgnored)
{
    fs::remove(helperPath() / "Contents/MacOS/TamselHelper");
    load();
    EXPECT_EQ(alertText(), "");
}

TEST_F(TamselPrefHelperTest, launch_isLoggedWithoutAnErrorToo)
{
    loadView();
    log().clear();
    pane().launchHelper();
    EXPECT_THAT(log(),
                ElementsAre("Helper launch error: (null)", HasSubstr("running app is com.dovrane.TamselHelper")));
}

TEST_F(TamselPrefHelperTest, noHelperHearsOfFolders_oneIsLaunchedUnlessOneRuns)
{
    load();
    const auto miss = [] { Q_EMIT PXHistoryController::sharedHistoryController()->helperMissed(); };
    miss();
    EXPECT_EQ(workspace.launched().size(), 1u) << "it was launched with the pane and is only starting";
    workspace.end("com.dovrane.TamselHelper");
    miss();
    EXPECT_EQ(workspace.launched().size(), 2u);
}

TEST_F(TamselPrefHelperTest, failedLaunch_isOnlyLogged)
{
    loadView();
    log().clear();
    workspace.failures.failCall(0, ErrorCode::Permission);
    pane().launchHelper();
    EXPECT_THAT(log(), ElementsAre("Helper launch error: made to fail", "running app is (null)"));
    EXPECT_THAT(workspace.launched(), IsEmpty());
    EXPECT_EQ(alertText(), "");
}

TEST_F(TamselPrefHelperTest, aBundleWithoutAHelper_launchesNothing)
{
    fs::remove_all(helperPath());
    loadView();
    log().clear();
    pane().launchHelper();
    EXPECT_THAT(journal.lines(), ElementsAre("observe pellixSavingsChanged"));
    EXPECT_THAT(log(), IsEmpty());
}

TEST_F(TamselPrefHelperTest, theHelpersEnd_triggersNothing)
{
    load();
    journal.clear();
    workspace.end("com.dovrane.TamselHelper");
    EXPECT_THAT(journal.lines(), IsEmpty());
}
