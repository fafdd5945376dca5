#include "Platform/Services.h"

#include <gtest/gtest.h>

#include <csignal>
#include <string>
#include <vector>

#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char **environ;

/// A real process that holds signals back and does what it is told.
class Probe
{
public:
    explicit Probe(std::vector<std::string> arguments, const std::string &prefix = {})
    {
        EXPECT_EQ(::pipe(m_input), 0);
        EXPECT_EQ(::pipe(m_output), 0);
        posix_spawn_file_actions_t actions;
        ::posix_spawn_file_actions_init(&actions);
        ::posix_spawn_file_actions_adddup2(&actions, m_input[0], STDIN_FILENO);
        ::posix_spawn_file_actions_adddup2(&actions, m_output[1], STDOUT_FILENO);
        for (const int end : {m_input[0], m_input[1], m_output[0], m_output[1]})
            ::posix_spawn_file_actions_addclose(&actions, end);
        std::string command = prefix + "exec '" TAMSEL_PROBE "'";
        for (const std::string &argument : arguments)
            command += " " + argument;
        std::string words[] = {"sh", "-c", command};
        char *argv[] = {words[0].data(), words[1].data(), words[2].data(), nullptr};
        EXPECT_EQ(::posix_spawn(&m_process, "/bin/sh", &actions, nullptr, argv, environ), 0);
        ::posix_spawn_file_actions_destroy(&actions);
        ::close(m_input[0]);
        ::close(m_output[1]);
    }

    ~Probe()
    {
        if (m_process > 0) {
            ::kill(m_process, SIGKILL);
            ::waitpid(m_process, nullptr, 0);
        }
        ::close(m_input[1]);
        ::close(m_output[0]);
    }

    /// The next line that the process prints; empty at its end or after ten seconds.
    std::string line()
    {
        std::string text;
        pollfd ready = {m_output[0], POLLIN, 0};
        for (char c = 0; ::poll(&ready, 1, 10'000) == 1 && ::read(m_output[0], &c, 1) == 1 && c != '\n';)
            text += c;
        return text;
    }

    /// Has it do something; whether it did, which it can only while its event loop runs.
    bool does(const std::string &order)
    {
        const std::string text = order + "\n";
        return ::write(m_input[1], text.data(), text.size()) == ssize_t(text.size()) && line() == "did " + order;
    }

    void send(int signal) { ::kill(m_process, signal); }

    /// How it ended: 7 by leaving its event loop, 1000 + the signal by a signal; -1 when it has not after ten seconds.
    int end()
    {
        while (!line().empty()) {
        }
        int status = 0;
        for (int i = 0; i < 1000; ++i) {
            if (::waitpid(m_process, &status, WNOHANG) == m_process) {
                m_process = -1;
                return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
            }
            ::usleep(10'000);
        }
        return -1;
    }

private:
    int m_input[2] = {};
    int m_output[2] = {};
    pid_t m_process = -1;
};

class HoldBackSignals : public ::testing::TestWithParam<int>
{
};

INSTANTIATE_TEST_SUITE_P(, HoldBackSignals, ::testing::Values(SIGTERM, SIGINT, SIGHUP),
                         [](const auto &row) { return std::string("SIG") + ::sigabbrev_np(row.param); });

TEST_P(HoldBackSignals, signal_whileEnabled_leavesTheEventLoop)
{
    Probe probe({"early"});
    ASSERT_EQ(probe.line(), "ready");
    probe.send(GetParam());
    EXPECT_EQ(probe.end(), 7);
}

TEST_P(HoldBackSignals, signal_whileDisabled_isHeldBackUntilTheLastEnable)
{
    Probe probe({"early"});
    ASSERT_EQ(probe.line(), "ready");
    ASSERT_TRUE(probe.does("disable"));
    ASSERT_TRUE(probe.does("disable"));
    probe.send(GetParam());
    probe.send(GetParam());
    EXPECT_TRUE(probe.does("block"));
    EXPECT_TRUE(probe.does("enable"));
    EXPECT_TRUE(probe.does("block"));
    EXPECT_TRUE(probe.does("enable"));
    EXPECT_EQ(probe.end(), 7);
}

TEST(HoldBackSignalsOnce, lastEnable_inAnotherThread_leavesTheEventLoop)
{
    Probe probe({"early"});
    ASSERT_EQ(probe.line(), "ready");
    ASSERT_TRUE(probe.does("disable"));
    probe.send(SIGTERM);
    EXPECT_TRUE(probe.does("block"));
    EXPECT_TRUE(probe.does("enable-in-thread"));
    EXPECT_EQ(probe.end(), 7);
}

TEST(HoldBackSignalsOnce, disabledAndEnabledWithoutASignal_goesOn)
{
    Probe probe({"early"});
    ASSERT_EQ(probe.line(), "ready");
    EXPECT_TRUE(probe.does("disable"));
    EXPECT_TRUE(probe.does("enable"));
    EXPECT_TRUE(probe.does("block"));
    probe.send(SIGTERM);
    EXPECT_EQ(probe.end(), 7);
}

TEST(HoldBackSignalsOnce, calledAfterTheApplicationWasMade_worksToo)
{
    Probe probe({"late"});
    ASSERT_EQ(probe.line(), "ready");
    ASSERT_TRUE(probe.does("disable"));
    probe.send(SIGTERM);
    EXPECT_TRUE(probe.does("block"));
    EXPECT_TRUE(probe.does("enable"));
    EXPECT_EQ(probe.end(), 7);
}

TEST(HoldBackSignalsOnce, signalBeforeTheEventLoop_isKeptForIt)
{
    Probe probe({"early", "kill-self"});
    EXPECT_EQ(probe.line(), "did kill-self");
    EXPECT_EQ(probe.line(), "ready");
    EXPECT_EQ(probe.end(), 7);
}

TEST(HoldBackSignalsOnce, ignoredFromTheStart_staysIgnored)
{
    Probe probe({"early"}, "trap '' HUP INT; ");
    ASSERT_EQ(probe.line(), "ready");
    probe.send(SIGHUP);
    probe.send(SIGINT);
    EXPECT_TRUE(probe.does("block"));
    probe.send(SIGTERM);
    EXPECT_EQ(probe.end(), 7);
}

TEST(HoldBackSignalsOnce, programStartedByUs_endsAsEver)
{
    Probe probe({"early", "disable", "child"});
    EXPECT_EQ(probe.line(), "did disable");
    EXPECT_EQ(probe.line(), std::to_string(SIGTERM) + " did child");
    EXPECT_EQ(probe.line(), "ready");
}
