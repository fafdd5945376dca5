#include "Platform/Linux/Qt/DetachedProcess.h"

#include "Platform/Linux/ArgumentVector.h"

#include <csignal>
#include <fcntl.h>
#include <memory>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

extern char **environ;

namespace {

/// What the new process is to begin with.
class Beginning final
{
public:
    Beginning()
    {
        ::posix_spawn_file_actions_init(&actions);
        ::posix_spawnattr_init(&attributes);
        ::posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        for (const int output : {STDOUT_FILENO, STDERR_FILENO})
            if (!isFitForOthers(output))
                ::posix_spawn_file_actions_addopen(&actions, output, "/dev/null", O_WRONLY, 0);
        ::posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
        ::posix_spawn_file_actions_addchdir_np(&actions, "/");

        sigset_t signals;
        ::sigemptyset(&signals);
        ::posix_spawnattr_setsigmask(&attributes, &signals);
        ::sigfillset(&signals);
        ::posix_spawnattr_setsigdefault(&attributes, &signals);
        ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    ~Beginning()
    {
        ::posix_spawn_file_actions_destroy(&actions);
        ::posix_spawnattr_destroy(&attributes);
    }
    Beginning(const Beginning &) = delete;
    Beginning &operator=(const Beginning &) = delete;

    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;

private:
    static bool isFitForOthers(int output)
    {
        struct stat status = {};
        return ::fstat(output, &status) == 0 && !S_ISFIFO(status.st_mode);
    }
};

} // namespace

Result<DetachedProcess> DetachedProcess::start(const Path &program, const std::vector<std::string> &arguments)
{
    const ArgumentVector argv(program, arguments);

    const Beginning beginning;
    DetachedProcess process;
    const int failure =
        ::posix_spawnp(&process.id, program.c_str(), &beginning.actions, &beginning.attributes, argv.data(), environ);
    if (failure != 0)
        return Failure::fromErrno(failure, "start", program);
    process.descriptor = Descriptor(int(::syscall(SYS_pidfd_open, process.id, 0)));
    return process;
}
