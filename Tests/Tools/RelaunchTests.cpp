#include "Platform/ProcessHandover.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Tools/ToolRun.h"

#include <gtest/gtest.h>

#include <csignal>
#include <sstream>
#include <thread>

#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

class RelaunchTest : public ::testing::Test
{
protected:
    RelaunchTest()
    {
        // Where the pane puts it; nothing of ours lies beside it there.
        fs::copy_file(RELAUNCH, m_root / "relaunch");
        installHost("Host.app", "Host");
    }
    ~RelaunchTest() override { fs::remove_all(m_root); }

    Path installHost(const std::string &bundle, const std::string &executable) const
    {
        const Path program = m_root / bundle / "Contents/MacOS" / executable;
        fs::create_directories(program.parent_path());
        fs::copy_file(HOST_DOUBLE, program);
        return program;
    }

    /// Starts the host that is to be waited for.
    void startHost(const Path &program)
    {
        m_host.start(QString::fromStdString(program.native()), {QStringLiteral("wait")});
        ASSERT_TRUE(m_host.waitForReadyRead(20'000));
    }
    void startRelaunch(const Path &path)
    {
        m_relaunch.start(QString::fromStdString((m_root / "relaunch").native()),
                         {QString::fromStdString(path.native()), QString::number(m_host.processId())});
        ASSERT_TRUE(m_relaunch.waitForStarted());
        waitUntilItWaits();
    }
    /// By then it has looked at the host, leads a session of its own and does not mind a hang-up.
    void waitUntilItWaits() const
    {
        const auto id = pid_t(m_relaunch.processId());
        for (int round = 0; round < 4000 && ::getsid(id) != id; ++round)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        ASSERT_EQ(::getsid(id), id);
    }
    void endHost()
    {
        m_host.closeWriteChannel();
        ASSERT_TRUE(m_host.waitForFinished(20'000));
    }
    int exitCodeOfRelaunch()
    {
        return m_relaunch.waitForFinished(20'000) && m_relaunch.exitStatus() == QProcess::NormalExit
                   ? m_relaunch.exitCode()
                   : -1;
    }
    /// The words with which the program was started, after its session and folder; waits until it was.
    static std::vector<std::string> startOf(const Path &program)
    {
        const Path note = program.native() + ".started";
        for (int round = 0; round < 400 && !fs::exists(note); ++round)
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        std::istringstream lines(contentOf(note));
        std::vector<std::string> words;
        for (std::string line; std::getline(lines, line);)
            words.push_back(line);
        return words;
    }

    Path m_root = PrivateHome::current().makeFolder("relaunch");
    QProcess m_host, m_relaunch;
};

} // namespace

TEST_F(RelaunchTest, hostBundle_isStartedOnceTheProcessHasEnded)
{
    const Path program = m_root / "Host.app/Contents/MacOS/Host";
    startHost(program);
    startRelaunch(m_root / "Host.app");
    EXPECT_FALSE(m_relaunch.waitForFinished(500)) << "it did not wait";
    EXPECT_FALSE(fs::exists(program.native() + ".started"));
    endHost();
    EXPECT_EQ(exitCodeOfRelaunch(), 0) << m_relaunch.readAllStandardError().toStdString();
    const std::vector<std::string> start = startOf(program);
    ASSERT_EQ(start.size(), 1u);
    EXPECT_NE(start[0], std::to_string(::getsid(0)) + " /") << "it would die with this session";
    EXPECT_TRUE(start[0].ends_with(" /"));
}

TEST_F(RelaunchTest, pane_isShownByTheProgramThatHasEnded)
{
    const Path program = m_root / "Host.app/Contents/MacOS/Host";
    startHost(program);
    startRelaunch(m_root / "some where/Tamsel.prefPane");
    endHost();
    EXPECT_EQ(exitCodeOfRelaunch(), 0);
    const std::vector<std::string> start = startOf(program);
    ASSERT_EQ(start.size(), 3u);
    EXPECT_EQ(start[1], "--pane");
    EXPECT_EQ(start[2], m_root / "some where/Tamsel.prefPane");
}

TEST_F(RelaunchTest, pane_hostReplacedMeanwhile_isShownByTheNewOne)
{
    const Path program = m_root / "Host.app/Contents/MacOS/Host";
    startHost(program);
    fs::remove(program);
    installHost("Host.app", "Host");
    startRelaunch(m_root / "Tamsel.prefPane");
    endHost();
    EXPECT_EQ(exitCodeOfRelaunch(), 0) << m_relaunch.readAllStandardError().toStdString();
    EXPECT_EQ(startOf(program).size(), 3u);
}

TEST_F(RelaunchTest, bundleWithAnotherExecutable_isFoundByItsList)
{
    const Path program = installHost("Other.app", "Program");
    writeFile(m_root / "Other.app/Contents/Info.plist",
              "<plist><dict>\n\t<key>CFBundleExecutable</key>\n\t<string>Program</string></dict></plist>");
    startHost(m_root / "Host.app/Contents/MacOS/Host");
    startRelaunch(m_root / "Other.app/");
    endHost();
    EXPECT_EQ(exitCodeOfRelaunch(), 0);
    EXPECT_EQ(startOf(program).size(), 1u);
}

TEST_F(RelaunchTest, bundleWithoutProgram_isAFailureWithAReason)
{
    fs::create_directories(m_root / "Empty.app/Contents/MacOS/Empty"); // a folder of the name is none
    for (const std::string name : {"", "../../../Host.app/Contents/MacOS/Host", "..", "missing"}) {
        writeFile(m_root / "Empty.app/Contents/Info.plist",
                  "<plist><dict><key>CFBundleExecutable</key><string>" + name + "</string></dict></plist>");
        startHost(m_root / "Host.app/Contents/MacOS/Host");
        startRelaunch(m_root / "Empty.app");
        endHost();
        EXPECT_EQ(exitCodeOfRelaunch(), 1) << name;
        EXPECT_NE(m_relaunch.readAllStandardError().indexOf("Empty.app"), -1);
    }
}

TEST_F(RelaunchTest, processThatIsGone_opensABundleAtOnceAndNoPane)
{
    startHost(m_root / "Host.app/Contents/MacOS/Host");
    const QString process = QString::number(m_host.processId());
    endHost();
    const auto run = [&](const Path &path) {
        return ToolRun::of(m_root / "relaunch", {QString::fromStdString(path.native()), process});
    };
    EXPECT_EQ(run(m_root / "Host.app").exitCode, 0);
    EXPECT_EQ(startOf(m_root / "Host.app/Contents/MacOS/Host").size(), 1u);
    const ToolRun pane = run(m_root / "Tamsel.prefPane");
    EXPECT_EQ(pane.exitCode, 1);
    EXPECT_NE(pane.errors, "");
}

TEST_F(RelaunchTest, wrongUse_saysHow)
{
    const QString path = QStringLiteral("/Host.app");
    for (const QStringList &arguments : {QStringList{},
                                         {path},
                                         {path, QStringLiteral("x")},
                                         {path, QStringLiteral("0")},
                                         {path, QStringLiteral("-1")},
                                         {path, QStringLiteral("12x")},
                                         {path, QStringLiteral("99999999999999")},
                                         {QString(), QStringLiteral("1")},
                                         {QStringLiteral("relative.app"), QStringLiteral("1")},
                                         {path, QStringLiteral("1"), QStringLiteral("1")}}) {
        const ToolRun run = ToolRun::of(m_root / "relaunch", arguments);
        EXPECT_EQ(run.exitCode, 2) << arguments.join(QLatin1Char(' ')).toStdString();
        EXPECT_NE(run.errors.find("usage"), std::string::npos);
    }
}

TEST_F(RelaunchTest, hangUp_doesNotEndIt)
{
    const Path program = m_root / "Host.app/Contents/MacOS/Host";
    startHost(program);
    startRelaunch(m_root / "Host.app");
    ASSERT_EQ(::kill(pid_t(m_relaunch.processId()), SIGHUP), 0);
    EXPECT_FALSE(m_relaunch.waitForFinished(300));
    endHost();
    EXPECT_EQ(exitCodeOfRelaunch(), 0);
    EXPECT_EQ(startOf(program).size(), 1u);
}

TEST(ProcessHandover, waitForEnd_bothWays_waitsForTheEndThatNobodyHasNoticed)
{
    for (const auto waiting : {ProcessHandover::Waiting::ByHandle, ProcessHandover::Waiting::ByAsking}) {
        const pid_t child = ::fork();
        if (child == 0) {
            ::usleep(300'000);
            ::_exit(0);
        }
        const auto start = std::chrono::steady_clock::now();
        EXPECT_TRUE(ProcessHandover::waitForEnd(child, waiting));
        EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(250));
        ASSERT_EQ(::waitpid(child, nullptr, 0), child);
        EXPECT_TRUE(ProcessHandover::waitForEnd(child, waiting)) << "gone altogether";
    }
}

TEST(ProcessHandover, startDetached_missingProgram_isNotFound)
{
    const Result<void> started = ProcessHandover::startDetached("/nowhere/at/all", {});
    ASSERT_FALSE(started);
    EXPECT_EQ(started.failure().code, ErrorCode::NotFound);
}
