#include "Tests/Support/FileHolder.h"

#include <cerrno>
#include <csignal>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

[[noreturn]] static void hold(const std::function<bool()> &take, int answer)
{
    const bool isTaken = take();
    const ssize_t written = ::write(answer, isTaken ? "y" : "n", 1);
    while (written == 1)
        ::pause();
    ::_exit(1);
}

FileHolder::FileHolder(const std::function<bool()> &take)
{
    int ends[2] = {-1, -1};
    if (::pipe(ends) != 0)
        return;
    m_process = ::fork();
    if (m_process == 0) {
        ::close(ends[0]);
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        hold(take, ends[1]);
    }
    ::close(ends[1]);
    m_answer = ends[0];
}

bool FileHolder::isHolding()
{
    if (m_answer >= 0) {
        char word = 'n';
        ssize_t got = -1;
        do {
            got = ::read(m_answer, &word, 1);
        } while (got < 0 && errno == EINTR);
        m_isHolding = got == 1 && word == 'y';
        ::close(m_answer);
        m_answer = -1;
    }
    return m_isHolding;
}

void FileHolder::release()
{
    if (m_answer >= 0)
        ::close(m_answer);
    if (m_process > 0) {
        ::kill(m_process, SIGKILL);
        ::waitpid(m_process, nullptr, 0);
    }
    m_answer = -1;
    m_process = -1;
    m_isHolding = false;
}
