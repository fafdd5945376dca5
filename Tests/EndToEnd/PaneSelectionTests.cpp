#include "Platform/DistributedNotificationCenter.h"
#include "Platform/Workspace.h"
#include "Tests/Support/HostProcess.h"
#include "Tests/Support/PrivateBus.h"
#include "Tests/Support/WaitFor.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

constexpr const char *kHelperIdentifier = "com.dovrane.TamselHelper";
constexpr const char *kOwnPaneOfHost = "com.dovrane.Preferences.about";

/// The real pane in the real host, with the real helper; another start of the host is what selects a pane.
class PaneSelection : public ::testing::Test
{
protected:
    PaneSelection()
    {
        center().addObserver("pellixHelperShouldQuit", [this](const Notification &) { ++quitRequests; });
    }

    ~PaneSelection() override
    {
        EXPECT_EQ(host.end(), 0);
        center().post("pellixHelperShouldQuit");
        EXPECT_TRUE(waitForHelper(false));
    }

    static DistributedNotificationCenter &center() { return DistributedNotificationCenter::current(); }

    static void select(const std::filesystem::path &pane)
    {
        HostProcess messenger;
        messenger.start(pane);
        EXPECT_TRUE(waitFor([&] { return !messenger.isRunning(); }, 60000));
    }

    static bool waitForHelper(bool isRunning)
    {
        return waitFor([=] { return Workspace::current().isRunning(kHelperIdentifier) == isRunning; }, 60000);
    }

    PrivateBus bus;
    HostProcess host;
    int quitRequests = 0;
};

} // namespace

TEST_F(PaneSelection, helperSwitchedOff_endsWhenThePaneIsLeftAndStartsWhenItIsShown)
{
    host.start();
    ASSERT_TRUE(waitForHelper(true));
    select(kOwnPaneOfHost);
    runFor(500);
    EXPECT_EQ(quitRequests, 0) << "switched on, it goes on without the pane";
    EXPECT_TRUE(Workspace::current().isRunning(kHelperIdentifier));

    select(TAMSEL_PANE_BUNDLE);
    ASSERT_EQ(std::system(TAMSELCTL " off"), 0);
    select(kOwnPaneOfHost);
    EXPECT_TRUE(waitForHelper(false));
    EXPECT_EQ(quitRequests, 1);

    select(TAMSEL_PANE_BUNDLE);
    EXPECT_TRUE(waitForHelper(true));
    EXPECT_EQ(quitRequests, 1);
}
