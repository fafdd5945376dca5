#include "Platform/Linux/LinuxThisProcess.h"

#include "Platform/Linux/ArgumentVector.h"
#include "Platform/Linux/DescriptorLock.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <sched.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

extern char **environ;

// From the kernel's interface, for which the library has no header: the class "idle", and "one thread" as its target.
static constexpr int kIoPriorityOfThread = 1;
static constexpr int kIdleIoPriority = 3 << 13;

std::uint32_t LinuxThisProcess::userId() const
{
    return ::getuid();
}

bool LinuxThisProcess::isInputATerminal() const
{
    return ::isatty(STDIN_FILENO) == 1;
}

Result<std::unique_ptr<FileLock>> LinuxThisProcess::lockFile(const Path &path)
{
    const std::string file = path.native();
    Descriptor descriptor(
        ::open(file.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, 0600));
    if (!descriptor) {
        const int failure = errno;
        if (failure == ELOOP || failure == EISDIR || failure == ENXIO)
            return Failure{ErrorCode::NotSupported, failure, "no file to lock: " + file};
        return Failure::fromErrno(failure, "lock", path);
    }
    struct stat status = {};
    if (::fstat(descriptor.get(), &status) != 0) {
        const int failure = errno;
        return Failure::fromErrno(failure, "lock", path);
    }
    if (!S_ISREG(status.st_mode) || status.st_uid != ::geteuid())
        return Failure{ErrorCode::NotSupported, 0, "no file to lock: " + file};
    if (::flock(descriptor.get(), LOCK_EX | LOCK_NB) != 0) {
        const int failure = errno;
        return Failure::fromErrno(failure, "lock", path);
    }
    return std::unique_ptr<FileLock>(std::make_unique<DescriptorLock>(std::move(descriptor)));
}

Result<void> LinuxThisProcess::makeThreadIdle()
{
    const sched_param parameters = {};
    if (::sched_setscheduler(0, SCHED_IDLE, &parameters) != 0) {
        const int failure = errno;
        return Failure::fromErrno(failure, "sched_setscheduler");
    }
    if (::syscall(SYS_ioprio_set, kIoPriorityOfThread, 0, kIdleIoPriority) != 0) {
        const int failure = errno;
        return Failure::fromErrno(failure, "ioprio_set");
    }
    return {};
}

Failure LinuxThisProcess::replaceBy(const Path &program, const std::vector<std::string> &arguments)
{
    const ArgumentVector argv(program, arguments);
    ::execve(program.c_str(), argv.data(), environ);
    const int failure = errno;
    return Failure::fromErrno(failure, "execve", program);
}

void LinuxThisProcess::ignoreBrokenPipes()
{
    std::signal(SIGPIPE, SIG_IGN);
}

void LinuxThisProcess::exitAtOnce(int status)
{
    std::_Exit(status);
}
