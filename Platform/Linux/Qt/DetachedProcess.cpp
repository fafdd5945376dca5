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

static constexpr off_t kLongestLog = 1 << 20; ///< one that is longer begins anew

/// The log file, where a program may write; none where it cannot be had.
static Descriptor openLog(const Path &log)
{
    if (log.empty())
        return Descriptor();
    Descriptor file(::open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600));
    struct stat status = {};
    if (!file || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_uid != ::geteuid())
        return Descriptor();
    if (status.st_size > kLongestLog && ::ftruncate(file.get(), 0) != 0)
        return Descriptor();
    return file;
}

namespace {

/// What the new process is to begin with.
class Beginning final
{
public:
    explicit Beginning(const Path &log)
    {
        ::posix_spawn_file_actions_init(&actions);
        ::posix_spawnattr_init(&attributes);
        ::posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        for (const int output : {STDOUT_FILENO, STDERR_FILENO})
            if (!isFitForOthers(output))
                redirect(output, log);
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
    void redirect(int output, const Path &log)
    {
        if (!m_log)
            m_log = openLog(log);
        if (m_log)
            ::posix_spawn_file_actions_adddup2(&actions, m_log.get(), output);
        else
            ::posix_spawn_file_actions_addopen(&actions, output, "/dev/null", O_WRONLY, 0);
    }
    static bool isFitForOthers(int output)
    {
        struct stat status = {};
        return ::fstat(output, &status) == 0 && !S_ISFIFO(status.st_mode);
    }

    Descriptor m_log;
};

} // namespace

Result<DetachedProcess> DetachedProcess::start(const Path &program, const std::vector<std::string> &arguments,
                                               const Path &log)
{
    const ArgumentVector argv(program, arguments);

    const Beginning beginning(log);
    DetachedProcess process;
    const int failure =
        ::posix_spawnp(&process.id, program.c_str(), &beginning.actions, &beginning.attributes, argv.data(), environ);
    if (failure != 0)
        return Failure::fromErrno(failure, "start", program);
    process.descriptor = Descriptor(int(::syscall(SYS_pidfd_open, process.id, 0)));
    return process;
}
