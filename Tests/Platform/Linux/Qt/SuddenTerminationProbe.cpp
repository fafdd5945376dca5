#include "Platform/Services.h"
#include "Platform/SuddenTermination.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <csignal>
#include <cstdio>
#include <cstring>
#include <string>
#include <thread>

#include <sys/wait.h>
#include <unistd.h>

/// Starts a program that nothing of ours should keep from being ended; the signal that ended it.
static int endingSignalOfChild()
{
    const pid_t child = ::fork();
    if (child == 0) {
        ::execlp("sleep", "sleep", "60", nullptr);
        ::_exit(127);
    }
    // Only once it has become that program does the signal meet it.
    const std::string link = "/proc/" + std::to_string(child) + "/comm";
    for (char name[16] = {}; std::strcmp(name, "sleep\n") != 0;) {
        if (FILE *const file = std::fopen(link.c_str(), "r")) {
            [[maybe_unused]] const char *const read = std::fgets(name, sizeof name, file);
            std::fclose(file);
        }
    }
    ::kill(child, SIGTERM);
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
}

static void obey(const std::string &order)
{
    SuddenTermination &termination = SuddenTermination::current();
    if (order == "disable")
        termination.disable();
    else if (order == "enable")
        termination.enable();
    else if (order == "enable-in-thread")
        std::thread([&] { termination.enable(); }).join();
    else if (order == "child")
        std::printf("%d ", endingSignalOfChild());
    else if (order == "block")
        ::usleep(300'000);
    else if (order == "kill-self")
        ::kill(::getpid(), SIGTERM);
    std::printf("did %s\n", order.c_str());
    std::fflush(stdout);
}

/// Holds signals back and obeys one order a line. The first argument tells when to begin; the others are orders to obey
/// before the event loop runs. Exits with 7 when the loop has ended.
int main(int argc, char **argv)
{
    const bool isLate = argc > 1 && std::string(argv[1]) == "late";
    installEngineServices();
    if (!isLate)
        holdBackSignals();
    QCoreApplication application(argc, argv);
    if (isLate)
        holdBackSignals();
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &input, [&input] {
        static std::string s_line;
        char c = 0;
        while (::read(STDIN_FILENO, &c, 1) == 1 && c != '\n')
            s_line += c;
        if (s_line.empty() && c != '\n')
            input.setEnabled(false);
        else
            obey(std::exchange(s_line, {}));
    });
    for (int i = 2; i < argc; ++i)
        obey(argv[i]);
    std::printf("ready\n");
    std::fflush(stdout);
    QCoreApplication::exec();
    std::printf("left\n");
    return 7;
}
