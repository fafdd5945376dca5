#include "Platform/ProcessHandover.h"

#include "Platform/Linux/Descriptor.h"

#include <array>
#include <csignal>
#include <fstream>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

static constexpr useconds_t kAskEvery = 100'000;

/// Whether the process has ended or is only waiting to be noticed by its parent.
static bool hasEnded(int process)
{
    if (::kill(process, 0) != 0 && errno == ESRCH)
        return true;
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    const std::string line{std::istreambuf_iterator<char>(file), {}};
    const std::size_t name = line.rfind(") "); // the name may hold anything, this too
    return name != std::string::npos && (line[name + 2] == 'Z' || line[name + 2] == 'X');
}

Result<Path> ProcessHandover::executableOf(int process)
{
    static const std::string kDeleted = " (deleted)";
    const std::string link = "/proc/" + std::to_string(process) + "/exe";
    std::array<char, 4096> target = {};
    const ssize_t length = ::readlink(link.c_str(), target.data(), target.size());
    if (length < 0)
        return Failure::fromErrno(errno, "readlink", link);
    std::string path(target.data(), std::size_t(length));
    // An update has put another file in its place, which is the one to start.
    if (path.ends_with(kDeleted) && ::access(path.c_str(), F_OK) != 0)
        path.resize(path.size() - kDeleted.size());
    return Path(path);
}

Result<void> ProcessHandover::waitForEnd(int process, Waiting waiting)
{
    const Descriptor handle(waiting == Waiting::ByHandle ? int(::syscall(SYS_pidfd_open, process, 0)) : -1);
    if (handle) {
        pollfd wanted = {handle.get(), POLLIN, 0};
        int ready = 0;
        do {
            ready = ::poll(&wanted, 1, -1);
        } while (ready < 0 && errno == EINTR);
        return ready < 0 ? Result<void>(Failure::fromErrno(errno, "poll")) : Result<void>();
    }
    while (!hasEnded(process))
        ::usleep(kAskEvery);
    return {};
}

Result<void> ProcessHandover::leaveSession()
{
    std::signal(SIGHUP, SIG_IGN);
    if (::setsid() >= 0)
        return {};
    // The leader of a group cannot leave it.
    const pid_t child = ::fork();
    if (child < 0)
        return Failure::fromErrno(errno, "fork");
    if (child == 0)
        return ::setsid() < 0 ? Result<void>(Failure::fromErrno(errno, "setsid")) : Result<void>();
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    ::_exit(WIFEXITED(status) ? WEXITSTATUS(status) : 1);
}

/// In the process that becomes the program: answers only through `failures`.
[[noreturn]] static void becomeProgram(char *const *words, int failures)
{
    std::signal(SIGHUP, SIG_DFL);
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    const int nothing = ::open("/dev/null", O_RDWR);
    if (nothing >= 0)
        ::dup2(nothing, STDIN_FILENO);
    if (nothing > STDERR_FILENO)
        ::close(nothing);
    if (::chdir("/") == 0)
        ::execv(words[0], words);
    const int failure = errno;
    if (::write(failures, &failure, sizeof failure) < 0)
        ::_exit(2);
    ::_exit(1);
}

Result<void> ProcessHandover::startDetached(const Path &program, const std::vector<std::string> &arguments)
{
    std::vector<std::string> texts = arguments;
    texts.insert(texts.begin(), program.native());
    std::vector<char *> words;
    for (std::string &text : texts)
        words.push_back(text.data());
    words.push_back(nullptr);

    int ends[2] = {};
    if (::pipe2(ends, O_CLOEXEC) != 0)
        return Failure::fromErrno(errno, "pipe2");
    const Descriptor reading(ends[0]);
    Descriptor writing(ends[1]);
    const pid_t between = ::fork();
    if (between < 0)
        return Failure::fromErrno(errno, "fork");
    if (between == 0) {
        ::setsid();
        const pid_t child = ::fork();
        if (child == 0)
            becomeProgram(words.data(), writing.get());
        ::_exit(child < 0 ? 1 : 0);
    }
    writing = Descriptor();
    int status = 0;
    while (::waitpid(between, &status, 0) < 0 && errno == EINTR) {
    }
    // Closed without a word when the program runs.
    int failure = 0;
    ssize_t count = 0;
    do {
        count = ::read(reading.get(), &failure, sizeof failure);
    } while (count < 0 && errno == EINTR);
    if (count != 0)
        return Failure::fromErrno(count == sizeof failure ? failure : EIO, "start", program);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        return Failure::fromErrno(EAGAIN, "fork");
    return {};
}

bool ProcessHandover::isExecutable(const Path &path)
{
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) && ::access(path.c_str(), X_OK) == 0;
}
