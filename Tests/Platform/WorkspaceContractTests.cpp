#include "Platform/Fake/FakeWorkspace.h"
#include "Platform/Linux/Qt/BusApplicationName.h"
#include "Platform/Linux/Qt/LinuxWorkspace.h"
#include "Platform/Linux/Qt/SessionBus.h"
#include "Tests/Support/PrivateBus.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/TestBundle.h"
#include "Tests/Support/WaitFor.h"

#include <gmock/gmock.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <optional>

namespace fs = std::filesystem;

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

constexpr const char *kIdentifier = "com.example.App";

struct OnFake
{
    template <class Condition>
    bool until(Condition condition)
    {
        return condition();
    }
    void endLaunched() { workspace.end(kIdentifier); }
    void setRunningElsewhere(bool isRunning) { workspace.setRunningElsewhere(kIdentifier, isRunning); }
    std::vector<std::string> opened() { return workspace.opened(); }

    FakeWorkspace workspace;
};

/// The launched script writes its process number, and ends when it is killed.
struct OnLinux
{
    OnLinux()
    {
        // Stands before the real one in the path.
        const fs::path programs = PrivateHome::current().makeFolder("bin");
        std::ofstream(programs / "xdg-open") << "#!/bin/sh\nprintf '%s\\n' \"$@\" >> \"$HOME/opened\"\n";
        fs::permissions(programs / "xdg-open", fs::perms(0755));
        ::setenv("PATH", (programs.native() + ':' + ::getenv("PATH")).c_str(), 1);
    }
    ~OnLinux() { endLaunched(); }

    template <class Condition>
    bool until(Condition condition)
    {
        return waitFor(condition);
    }
    void endLaunched()
    {
        const std::vector<std::string> numbers = linesOf("launched");
        for (const std::string &number : numbers)
            ::kill(std::stoi(number), SIGKILL);
        fs::remove(PrivateHome::current().home() / "launched");
    }
    void setRunningElsewhere(bool isRunning)
    {
        if (isRunning)
            other.claim(kIdentifier, [](ApplicationName::Claim) {});
        else
            other.release(kIdentifier);
    }
    std::vector<std::string> opened() { return linesOf("opened"); }

    static std::vector<std::string> linesOf(const char *file)
    {
        std::ifstream in(PrivateHome::current().home() / file);
        std::vector<std::string> lines;
        for (std::string line; std::getline(in, line);)
            lines.push_back(line);
        return lines;
    }

    PrivateBus process;
    SessionBus bus;
    LinuxWorkspace workspace{bus};
    SessionBus otherBus;
    BusApplicationName other{otherBus};
};

template <class Setting>
class WorkspaceContract : public ::testing::Test
{
protected:
    fs::path bundle(const std::string &script = "echo $$ >> \"$HOME/launched.new\"; "
                                                "mv \"$HOME/launched.new\" \"$HOME/launched\"; exec sleep 1000")
    {
        return makeApplicationBundle(PrivateHome::current().makeFolder("apps"), "App", kIdentifier, script);
    }
    void watch()
    {
        workspace.watchRunning(kIdentifier, [this](bool isRunning) { changes.push_back(isRunning); });
    }
    bool isStarted() { return std::is_same_v<Setting, OnFake> || !OnLinux::linesOf("launched").empty(); }

    Setting setting;
    Workspace &workspace = setting.workspace;
    std::vector<bool> changes;
};

using Settings = ::testing::Types<OnFake, OnLinux>;
TYPED_TEST_SUITE(WorkspaceContract, Settings);

} // namespace

TYPED_TEST(WorkspaceContract, launch_runsUntilItEnds_andEachChangeIsToldOnce)
{
    this->watch();
    EXPECT_FALSE(this->workspace.isRunning(kIdentifier));
    const auto launched = this->workspace.launchApplication(this->bundle());
    ASSERT_TRUE(launched) << launched.failure().context;
    const std::shared_ptr<RunningApplication> application = *launched;
    EXPECT_THAT(application->description(), ::testing::HasSubstr(kIdentifier));
    int ends = 0;
    application->observeTerminated([&] { ++ends; });
    ASSERT_TRUE(this->setting.until([&] { return this->isStarted(); }));
    EXPECT_TRUE(this->workspace.isRunning(kIdentifier));
    EXPECT_FALSE(this->workspace.isRunning("com.example.Other"));
    EXPECT_FALSE(application->isTerminated());
    EXPECT_THAT(this->changes, ElementsAre(true));

    this->setting.endLaunched();
    ASSERT_TRUE(this->setting.until([&] { return application->isTerminated() && ends > 0; }));
    EXPECT_FALSE(this->workspace.isRunning(kIdentifier));
    EXPECT_THAT(this->changes, ElementsAre(true, false));
    EXPECT_EQ(ends, 1);
}

TYPED_TEST(WorkspaceContract, launch_nobodyKeepsTheAnswer_itsEndIsStillSeen)
{
    this->watch();
    ASSERT_TRUE(this->workspace.launchApplication(this->bundle()));
    ASSERT_TRUE(this->setting.until([&] { return this->isStarted(); }));
    this->setting.endLaunched();
    ASSERT_TRUE(this->setting.until([&] { return this->changes.size() == 2; }));
    EXPECT_THAT(this->changes, ElementsAre(true, false));
}

TYPED_TEST(WorkspaceContract, launch_ofWhatCannotBe_failsAndNothingRuns)
{
    this->watch();
    const fs::path bundle = this->bundle();
    const auto codeOf = [&](const fs::path &path) {
        const auto launched = this->workspace.launchApplication(path);
        return launched ? std::nullopt : std::optional(launched.failure().code);
    };
    EXPECT_EQ(codeOf(bundle / "missing.app"), ErrorCode::NotFound);
    fs::permissions(bundle / "Contents/MacOS/App", fs::perms(0644));
    EXPECT_EQ(codeOf(bundle), ErrorCode::Permission);
    fs::remove(bundle / "Contents/MacOS/App");
    EXPECT_EQ(codeOf(bundle), ErrorCode::NotFound);
    std::ofstream(bundle / "Contents/Info.plist") << R"(<plist version="1.0"><dict/></plist>)";
    EXPECT_EQ(codeOf(bundle), ErrorCode::Corrupt);
    std::ofstream(bundle / "Contents/Info.plist") << "nonsense";
    EXPECT_EQ(codeOf(bundle), ErrorCode::Corrupt);
    EXPECT_FALSE(this->workspace.isRunning(kIdentifier));
    EXPECT_THAT(this->changes, IsEmpty());
}

TYPED_TEST(WorkspaceContract, isRunning_startedElsewhere_followsItsName)
{
    this->watch();
    EXPECT_FALSE(this->workspace.isRunning(kIdentifier));
    this->setting.setRunningElsewhere(true);
    ASSERT_TRUE(this->setting.until([&] { return this->workspace.isRunning(kIdentifier); }));
    this->setting.setRunningElsewhere(false);
    ASSERT_TRUE(this->setting.until([&] { return !this->workspace.isRunning(kIdentifier); }));
    EXPECT_THAT(this->changes, ElementsAre(true, false));
}

TYPED_TEST(WorkspaceContract, isRunning_startedElsewhereBeforeAnybodyAsked_isFound)
{
    this->setting.setRunningElsewhere(true);
    ASSERT_TRUE(this->setting.until([&] { return this->workspace.isRunning(kIdentifier); }));
}

TYPED_TEST(WorkspaceContract, openUrl_address_reachesTheUsersProgram)
{
    const auto done = this->workspace.openUrl("https://example.com/a b?c=d&e='f'");
    ASSERT_TRUE(done) << done.failure().context;
    ASSERT_TRUE(this->setting.until([&] { return !this->setting.opened().empty(); }));
    EXPECT_THAT(this->setting.opened(), ElementsAre("https://example.com/a b?c=d&e='f'"));
    EXPECT_FALSE(this->workspace.openUrl("--help"));
    EXPECT_FALSE(this->workspace.openUrl(""));
}
