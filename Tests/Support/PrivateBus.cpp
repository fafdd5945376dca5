#include "Tests/Support/PrivateBus.h"

#include "Tests/Support/PrivateHome.h"

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

extern char **environ;

/// As a session bus is by default, but for the services of the machine: nothing starts because it is called.
static void writeConfiguration(const std::string &file, const std::string &address)
{
    std::ofstream(file) << R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>)" << address << R"(</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
  <limit name="max_incoming_bytes">1000000000</limit>
  <limit name="max_outgoing_bytes">1000000000</limit>
  <limit name="max_message_size">1000000000</limit>
  <limit name="max_match_rules_per_connection">50000</limit>
  <limit name="max_replies_per_connection">50000</limit>
</busconfig>
)";
}

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
    const std::string socket = m_address.substr(m_address.find('=') + 1);
    const std::string configuration = socket + ".conf";
    ::unlink(socket.c_str());
    writeConfiguration(configuration, m_address);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, ready[1], STDOUT_FILENO);
    ::posix_spawn_file_actions_addclose(&actions, ready[0]);
    std::string arguments[] = {"dbus-daemon", "--config-file=" + configuration, "--nofork", "--print-address"};
    char *argv[] = {arguments[0].data(), arguments[1].data(), arguments[2].data(), arguments[3].data(), nullptr};
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
