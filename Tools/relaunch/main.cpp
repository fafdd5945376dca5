#include "Tools/relaunch/HostProgram.h"

#include "Platform/ProcessHandover.h"

#include <charconv>
#include <cstdio>
#include <cstring>

namespace {

enum ExitCode { kDone = 0, kFailed = 1, kWrongUse = 2 };

} // namespace

/// A process number, 0 for what is none.
static int processIn(const char *word)
{
    int process = 0;
    const char *const end = word + std::strlen(word);
    const auto [rest, failure] = std::from_chars(word, end, process);
    return failure == std::errc() && rest == end && process > 0 ? process : 0;
}

static int fail(const std::string &reason)
{
    std::fprintf(stderr, "relaunch: %s\n", reason.c_str());
    return kFailed;
}

int main(int argc, char **argv)
{
    const int process = argc == 3 ? processIn(argv[2]) : 0;
    if (process == 0 || argv[1][0] != '/') {
        std::fprintf(stderr, "usage: relaunch PATH PID\n"
                             "Waits until the process PID has ended, then opens PATH: the bundle of a host\n"
                             "application, or a pane, which the program that PID was running then shows.\n"
                             "PATH is absolute.\n");
        return kWrongUse;
    }
    const Path path = argv[1];
    // A pane is shown by the host that is about to end; afterwards nobody knows which that was.
    const Result<Path> host = ProcessHandover::executableOf(process);
    if (const Result<void> left = ProcessHandover::leaveSession(); !left)
        return fail(left.failure().context);
    if (const Result<void> ended = ProcessHandover::waitForEnd(process); !ended)
        return fail(ended.failure().context);

    const bool isPane = path.extension() == ".prefPane";
    if (isPane && !host)
        return fail("cannot tell which program is to show " + path.native() + ": " + host.failure().context);
    const std::optional<Path> program = isPane ? std::optional(*host) : hostProgramIn(path);
    if (!program)
        return fail("no program is in " + path.native());
    const std::vector<std::string> arguments =
        isPane ? std::vector<std::string>{"--pane", path.native()} : std::vector<std::string>{};
    const Result<void> started = ProcessHandover::startDetached(*program, arguments);
    return started ? kDone : fail(started.failure().context);
}
