#include "Platform/Linux/LinuxSuddenTermination.h"

#include <cassert>
#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <unistd.h>

// What the handler touches. Only these are safe to touch there.
static std::atomic<bool> s_hasSignal = false;
static_assert(std::atomic<bool>::is_always_lock_free);
static int s_readEnd = -1;
static int s_writeEnd = -1;
static pid_t s_process = -1;

/// A full pipe is as good as a written one.
static void wake()
{
    [[maybe_unused]] const ssize_t written = ::write(s_writeEnd, "", 1);
}

static void noteSignal(int)
{
    const int kept = errno;
    // A child shares the pipe until it executes its program, and a signal sent to it is no signal to us.
    if (::getpid() == s_process) {
        s_hasSignal = true;
        wake();
    }
    errno = kept;
}

/// `mayBeIgnored`: leaves the signal alone when whoever started the process has switched it off.
static bool catchSignal(int signal, bool mayBeIgnored)
{
    struct sigaction old = {};
    if (mayBeIgnored && ::sigaction(signal, nullptr, &old) == 0 && old.sa_handler == SIG_IGN)
        return true;
    struct sigaction action = {};
    action.sa_handler = noteSignal;
    action.sa_flags = SA_RESTART;
    ::sigemptyset(&action.sa_mask);
    return ::sigaction(signal, &action, nullptr) == 0;
}

LinuxSuddenTermination &LinuxSuddenTermination::instance()
{
    static auto &s_instance = *new LinuxSuddenTermination;
    return s_instance;
}

void LinuxSuddenTermination::disable()
{
    ++m_count;
}

void LinuxSuddenTermination::enable()
{
    const int before = m_count.fetch_sub(1);
    assert(before > 0);
    // Either this sees the signal, or `takeEnd` sees the count that was just lowered.
    if (before == 1 && s_hasSignal)
        wake();
}

bool LinuxSuddenTermination::isDisabled() const
{
    return m_count > 0;
}

bool LinuxSuddenTermination::catchSignals()
{
    if (s_readEnd >= 0)
        return true;
    int ends[2] = {};
    if (::pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0)
        return false;
    s_readEnd = ends[0];
    s_writeEnd = ends[1];
    s_process = ::getpid();
    return catchSignal(SIGTERM, false) && catchSignal(SIGINT, true) && catchSignal(SIGHUP, true);
}

int LinuxSuddenTermination::wakeDescriptor() const
{
    return s_readEnd;
}

bool LinuxSuddenTermination::takeEnd()
{
    char bytes[64];
    while (::read(s_readEnd, bytes, sizeof bytes) > 0) {
    }
    return !isDisabled() && s_hasSignal.exchange(false);
}
