#include "Tests/Support/PrivateBus.h"

#include "Tests/Support/PrivateHome.h"

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

extern char **environ;

PrivateBus::PrivateBus()
{
    static std::atomic<int> s_count = 0;
    m_address = "unix:path=" + (PrivateHome::current().root() / ("bus" + std::to_string(s_count++))).native();
    start();
    ::setenv("DBUS_SESSION_BUS_ADDRESS", m_address.c_str(), 1);
}

PrivateBus::~PrivateBus()
{
    kill();
    ::unsetenv("DBUS_SESSION_BUS_ADDRESS");
}

void PrivateBus::start()
{
    // The daemon prints its address once it listens, so a read from the pipe waits exactly as long as needed.
    int ready[2] = {};
    if (::pipe(ready) != 0)
        throw std::runtime_error("pipe");
    ::unlink(m_address.substr(m_address.find('=') + 1).c_str());
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, ready[1], STDOUT_FILENO);
    ::posix_spawn_file_actions_addclose(&actions, ready[0]);
    std::string arguments[] = {"dbus-daemon", "--session", "--nofork", "--print-address", "--address=" + m_address};
    char *argv[] = {arguments[0].data(), arguments[1].data(), arguments[2].data(),
                    arguments[3].data(), arguments[4].data(), nullptr};
    const int failure = ::posix_spawnp(&m_process, "dbus-daemon", &actions, nullptr, argv, environ);
    ::posix_spawn_file_actions_destroy(&actions);
    ::close(ready[1]);
    char first = 0;
    const bool listens = failure == 0 && ::read(ready[0], &first, 1) == 1;
    ::close(ready[0]);
    if (!listens)
        throw std::runtime_error("dbus-daemon did not start");
}

void PrivateBus::kill()
{
    if (m_process <= 0)
        return;
    ::kill(m_process, SIGKILL);
    ::waitpid(m_process, nullptr, 0);
    m_process = -1;
}

void PrivateBus::freeze()
{
    ::kill(m_process, SIGSTOP);
}

void PrivateBus::thaw()
{
    ::kill(m_process, SIGCONT);
}
