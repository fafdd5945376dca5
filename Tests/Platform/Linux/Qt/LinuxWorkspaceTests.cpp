#include "Platform/Linux/Qt/LinuxWorkspace.h"

#include "Platform/Linux/Qt/BusApplicationName.h"
#include "Platform/Linux/Qt/DetachedProcess.h"
#include "Platform/Linux/Qt/SessionBus.h"
#include "Platform/UserFolders.h"
#include "Tests/Support/PrivateBus.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/TestBundle.h"
#include "Tests/Support/WaitFor.h"

#include <gmock/gmock.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <optional>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr const char *kIdentifier = "com.example.App";

/// Writes what it was given, then waits to be killed.
constexpr const char *kScript = "{ echo $$; ls -l /proc/$$/fd; cut -d' ' -f6 /proc/$$/stat; pwd; } > \"$OUTPUT.new\"\n"
                                "mv \"$OUTPUT.new\" \"$OUTPUT\"; exec sleep 1000";

class LinuxWorkspaceTest : public ::testing::Test
{
protected:
    LinuxWorkspaceTest()
    {
        ::setenv("OUTPUT", (PrivateHome::current().root() / "output").c_str(), 1);
        bundle = makeApplicationBundle(PrivateHome::current().makeFolder("apps"), "App", kIdentifier, kScript);
    }
    ~LinuxWorkspaceTest() override
    {
        if (process() > 0)
            ::kill(process(), SIGKILL);
    }

    static std::vector<std::string> output()
    {
        std::ifstream in(::getenv("OUTPUT"));
        std::vector<std::string> lines;
        for (std::string line; std::getline(in, line);)
            lines.push_back(line);
        return lines;
    }
    static pid_t process() { return output().empty() ? -1 : std::stoi(output().front()); }

    fs::path bundle;
    SessionBus bus;
    LinuxWorkspace workspace{bus};
};

} // namespace

TEST_F(LinuxWorkspaceTest, launch_outputOfOursIsAPipe_theChildGetsNeitherItNorOtherFiles)
{
    int pipe[2] = {};
    ASSERT_EQ(::pipe(pipe), 0);
    ASSERT_EQ(::dup2(pipe[1], STDERR_FILENO), STDERR_FILENO);
    ASSERT_GE(::open((PrivateHome::current().root() / "kept-open").c_str(), O_CREAT | O_RDWR, 0600), 0);
    ASSERT_TRUE(workspace.launchApplication(bundle));
    ASSERT_TRUE(waitFor([] { return !output().empty(); }));
    for (const std::string &line : output()) {
        EXPECT_EQ(line.find("pipe:"), std::string::npos) << line;
        EXPECT_EQ(line.find("kept-open"), std::string::npos) << line;
    }
    EXPECT_EQ(output().back(), "/");
}

TEST_F(LinuxWorkspaceTest, launch_outputOfOursIsAPipe_whatTheChildSaysIsAddedToItsLog)
{
    const Path log = *UserFolders::current().temporary() / "Talker.log";
    const Path talker = makeApplicationBundle(PrivateHome::current().makeFolder("apps"), "Talker", "com.example.Talker",
                                              "echo complained >&2");
    const auto content = [&] {
        std::ifstream in(log);
        return std::string(std::istreambuf_iterator<char>(in), {});
    };
    const auto launchAndWait = [&] {
        const auto launched = workspace.launchApplication(talker);
        return launched && waitFor([&] { return (*launched)->isTerminated(); });
    };
    int pipe[2] = {};
    ASSERT_EQ(::pipe(pipe), 0);
    ASSERT_EQ(::dup2(pipe[1], STDERR_FILENO), STDERR_FILENO);
    ASSERT_TRUE(launchAndWait());
    ASSERT_TRUE(launchAndWait());
    EXPECT_EQ(content(), "complained\ncomplained\n");
    fs::resize_file(log, (1 << 20) + 1);
    ASSERT_TRUE(launchAndWait());
    EXPECT_EQ(content(), "complained\n") << "a long one begins anew";

    const Path precious = PrivateHome::current().root() / "precious";
    fs::rename(log, precious);
    fs::create_symlink(precious, log);
    ASSERT_TRUE(launchAndWait());
    EXPECT_EQ(fs::file_size(precious), 11u) << "a link was followed";
}

TEST_F(LinuxWorkspaceTest, launchedEnds_theEventLoopFindsNothingClosed)
{
    static std::atomic<int> s_warnings = 0;
    const auto previous = qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &text) {
        s_warnings += text.contains(QStringLiteral("socket"), Qt::CaseInsensitive);
    });
    for (int round = 0; round < 20; ++round) {
        const auto launched = workspace.launchApplication(
            makeApplicationBundle(PrivateHome::current().makeFolder("apps"), "Brief", "com.example.Brief", "exit 0"));
        ASSERT_TRUE(launched);
        EXPECT_TRUE(waitFor([&] { return (*launched)->isTerminated(); }));
        QCoreApplication::processEvents();
    }
    qInstallMessageHandler(previous);
    EXPECT_EQ(s_warnings, 0);
}

TEST_F(LinuxWorkspaceTest, launch_child_hasASessionOfItsOwn)
{
    ASSERT_TRUE(workspace.launchApplication(bundle));
    ASSERT_TRUE(waitFor([] { return !output().empty(); }));
    EXPECT_EQ(output()[output().size() - 2], output().front());
}

TEST_F(LinuxWorkspaceTest, launcherEnds_childGoesOn)
{
    const pid_t launcher = ::fork();
    if (launcher == 0)
        ::_exit(DetachedProcess::start(bundle / "Contents/MacOS/App", {}) ? 0 : 1);
    int status = -1;
    ASSERT_EQ(::waitpid(launcher, &status, 0), launcher);
    ASSERT_EQ(status, 0);
    ASSERT_TRUE(waitFor([] { return !output().empty(); }));
    EXPECT_EQ(::kill(process(), 0), 0);
}

TEST_F(LinuxWorkspaceTest, launchedGivesUpItsName_isNoLongerRunningThoughItHasNotEnded)
{
    const PrivateBus daemon;
    SessionBus otherBus;
    BusApplicationName child(otherBus); // stands for the child's own connection
    ASSERT_TRUE(workspace.launchApplication(bundle));
    std::optional<ApplicationName::Claim> claim;
    child.claim(kIdentifier, [&](ApplicationName::Claim answer) { claim = answer; });
    std::vector<bool> changes;
    workspace.watchRunning(kIdentifier, [&](bool isRunning) { changes.push_back(isRunning); });
    ASSERT_TRUE(waitFor([&] { return !output().empty() && claim; }));
    EXPECT_TRUE(workspace.isRunning(kIdentifier));
    child.release(kIdentifier);
    ASSERT_TRUE(waitFor([&] { return !workspace.isRunning(kIdentifier); }));
    EXPECT_EQ(::kill(process(), 0), 0);
    EXPECT_THAT(changes, ::testing::ElementsAre(false));
}

TEST_F(LinuxWorkspaceTest, busDies_launchedIsStillRunning)
{
    PrivateBus daemon;
    ASSERT_TRUE(workspace.launchApplication(bundle));
    ASSERT_TRUE(waitFor([] { return !output().empty(); }));
    daemon.kill();
    ASSERT_TRUE(waitFor([&] { return !bus.isConnected(); }));
    EXPECT_TRUE(workspace.isRunning(kIdentifier));
}

TEST_F(LinuxWorkspaceTest, openUrl_noSuchProgram_isNotFound)
{
    ::setenv("PATH", "/nowhere", 1);
    const auto done = workspace.openUrl("https://example.com/");
    ASSERT_FALSE(done);
    EXPECT_EQ(done.failure().code, ErrorCode::NotFound);
}
