#include "Classes/Shared/truthOf.h"
#include "Platform/ApplicationName.h"
#include "Platform/PropertyList.h"
#include "Platform/Workspace.h"
#include "Tests/Support/HelperProcess.h"
#include "Tests/Support/HostProcess.h"
#include "Tests/Support/PrivateBus.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/VirtualDisplay.h"
#include "Tests/Support/WaitFor.h"

#include <gtest/gtest.h>

#include <csignal>
#include <iostream>

namespace fs = std::filesystem;

using std::chrono::duration_cast;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {

/// Where the switch is, in a window of the size that it has at first. Without a bus nobody tells.
constexpr QPoint kSwitch{307, 95};

/// Whatever is wrong with the bus or the helper, the pane is shown and can be used. How soon is told, not judged: that
/// depends on the machine.
class FirstFrame : public ::testing::Test
{
protected:
    ~FirstFrame() override
    {
        const int helper = host.helperId();
        host.kill();
        if (helper > 0)
            ::kill(helper, SIGKILL);
    }

    static std::optional<bool> isActive()
    {
        const fs::path settings = PrivateHome::current().home() / ".local/share/Tamsel/defaults.plist";
        const Result<PropertyList> list = PropertyList::read(settings);
        return list ? truthOf(list->find("active")) : std::nullopt;
    }

    void showPane()
    {
        host.showOn(display.name());
        host.start();
        ASSERT_TRUE(waitFor([&] { return host.firstFrameOfPane().has_value(); }, 60000));
        std::cout << "first frame after " << host.firstFrame()->count() << " ms, the pane's after "
                  << host.firstFrameOfPane()->count() << " ms" << std::endl;
    }

    void expectUsable()
    {
        ASSERT_NO_FATAL_FAILURE(showPane());
        ASSERT_TRUE(display.activate("Tamsel"));
        ASSERT_EQ(isActive(), true);
        const auto pressed = steady_clock::now();
        ASSERT_TRUE(display.click("Tamsel", kSwitch));
        EXPECT_TRUE(waitFor([] { return isActive() == false; }, 60000)) << "the switch does not answer";
        std::cout << "the switch has answered after "
                  << duration_cast<milliseconds>(steady_clock::now() - pressed).count() << " ms" << std::endl;
        EXPECT_EQ(host.end(), 0);
    }

    VirtualDisplay display;
    PrivateBus bus;
    HostProcess host;
};

} // namespace

TEST_F(FirstFrame, everythingInOrder)
{
    expectUsable();
}

TEST_F(FirstFrame, noBus)
{
    bus.kill();
    ::unsetenv("DBUS_SESSION_BUS_ADDRESS");
    host.setVariable("DBUS_SESSION_BUS_ADDRESS", "");
    expectUsable();
}

TEST_F(FirstFrame, busThatHasDied)
{
    bus.kill();
    expectUsable();
}

TEST_F(FirstFrame, busThatNeverAnswers)
{
    bus.freeze();
    expectUsable();
}

TEST_F(FirstFrame, busThatAnswersLate)
{
    bus.freeze();
    ASSERT_NO_FATAL_FAILURE(showPane());
    bus.thaw();
    for (const char *const program : {"com.dovrane.Preferences", "com.dovrane.TamselHelper"})
        EXPECT_TRUE(waitFor([&] { return Workspace::current().isRunning(program); }, 60000)) << program;
}

TEST_F(FirstFrame, busThatDiesUnderARunningHostAndComesBack)
{
    const auto isFound = [](const char *program) {
        return waitFor([&] { return Workspace::current().isRunning(program); }, 60000);
    };
    HelperProcess helper; // its log tells what it hears
    ASSERT_TRUE(helper.waitUntilFound());
    ASSERT_NO_FATAL_FAILURE(showPane());
    ASSERT_TRUE(isFound("com.dovrane.Preferences"));
    ASSERT_TRUE(waitFor([&] { return helper.log().find("Compressing: on") != std::string::npos; }, 60000));
    bus.kill();
    ASSERT_TRUE(display.activate("Tamsel"));
    ASSERT_TRUE(display.click("Tamsel", kSwitch));
    EXPECT_TRUE(waitFor([] { return isActive() == false; }, 60000)) << "the switch does not answer";
    bus.start();
    ASSERT_TRUE(isFound("com.dovrane.Preferences") && isFound("com.dovrane.TamselHelper"));
    EXPECT_TRUE(waitFor([&] { return helper.log().find("Compressing: off") != std::string::npos; }, 60000))
        << "what was posted meanwhile is read when the bus is back";
    ASSERT_TRUE(display.click("Tamsel", kSwitch));
    EXPECT_TRUE(waitFor([] { return isActive() == true; }, 60000)) << "the switch does not answer any more";
    EXPECT_EQ(host.end(), 0);
}

TEST_F(FirstFrame, helperThatHangs)
{
    HelperProcess helper;
    ASSERT_TRUE(helper.waitUntilFound() && helper.waitForLog("installed version")); // so its start is at its end
    helper.freeze();
    expectUsable();
}

TEST_F(FirstFrame, helperThatHasItsNameAndSaysNothing)
{
    std::optional<ApplicationName::Claim> claim;
    ApplicationName::current().claim("com.dovrane.TamselHelper",
                                     [&](ApplicationName::Claim answer) { claim = answer; });
    ASSERT_TRUE(waitFor([&] { return claim == ApplicationName::Claim::Claimed; }, 60000));
    expectUsable();
}
