#include "Classes/Shared/DVFileUsage.h"
#include "Platform/FileLeases.h"
#include "Platform/Services.h"
#include "Tests/Support/FileHolder.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <list>
#include <spawn.h>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

// What it costs to make sure that nobody writes to a file: the lease, and the walk over every process with fuser beside
// it, which answers the same. Makes the processes itself: "OpenFileBenchmark [PROCESSES [DESCRIPTORS [ROUNDS]]]".
// Medians, all from one run.

extern char **environ;

/// What one run took, in microseconds.
struct Cost
{
    double elapsed = 0;
    double processor = 0; ///< of this process and of the children that it has waited for; says most on a busy machine
};

static double processorTime()
{
    double total = 0;
    for (const int who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
        rusage usage = {};
        ::getrusage(who, &usage);
        for (const timeval &time : {usage.ru_utime, usage.ru_stime})
            total += double(time.tv_sec) * 1e6 + double(time.tv_usec);
    }
    return total;
}

static Cost costOf(const std::function<void()> &run)
{
    const double before = processorTime();
    const auto start = std::chrono::steady_clock::now();
    run();
    const auto elapsed = std::chrono::steady_clock::now() - start;
    return {std::chrono::duration<double, std::micro>(elapsed).count(), processorTime() - before};
}

/// The medians of both.
static Cost medianOf(const std::vector<Cost> &costs)
{
    const auto median = [&costs](double Cost::*member) {
        std::vector<double> values;
        for (const Cost &cost : costs)
            values.push_back(cost.*member);
        std::nth_element(values.begin(), values.begin() + std::ptrdiff_t(values.size() / 2), values.end());
        return values[values.size() / 2];
    };
    return {median(&Cost::elapsed), median(&Cost::processor)};
}

static void print(const char *what, const Cost &cost, const char *remark = "")
{
    std::printf("%-36s %12.2f %12.2f%s\n", what, cost.elapsed, cost.processor, remark);
}

/// Starts processes that each have so many descriptors open, of files that lie about.
static bool startHolders(std::list<FileHolder> &holders, int processes, int descriptors, const std::string &folder)
{
    for (int index = 0; index < descriptors; ++index)
        std::ofstream(folder + "/other" + std::to_string(index)) << "content";
    bool isReady = true;
    for (int process = 0; process < processes; ++process) {
        holders.emplace_back([&] {
            bool isOpen = true;
            for (int index = 0; index < descriptors; ++index)
                isOpen = ::open((folder + "/other" + std::to_string(index)).c_str(), O_RDWR) >= 0 && isOpen;
            return isOpen;
        });
        isReady = holders.back().isHolding() && isReady; // and so the next one inherits nothing of it
    }
    return isReady;
}

/// Its exit status; -1 when it cannot be started.
static int runFuser(const std::string &file)
{
    std::string words[] = {"fuser", "-s", file};
    char *arguments[] = {words[0].data(), words[1].data(), words[2].data(), nullptr};
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t child = -1;
    int status = -1;
    const bool isStarted = ::posix_spawnp(&child, "fuser", &actions, nullptr, arguments, environ) == 0;
    ::posix_spawn_file_actions_destroy(&actions);
    if (!isStarted || ::waitpid(child, &status, 0) != child || !WIFEXITED(status))
        return -1;
    return WEXITSTATUS(status);
}

static void measureLease(const std::string &file, int rounds)
{
    constexpr int kRepeats = 1000;
    bool isGranted = true;
    std::vector<Cost> costs;
    for (int round = 0; round < rounds; ++round) {
        const Cost cost = costOf([&] {
            for (int repeat = 0; repeat < kRepeats; ++repeat) {
                const auto lease = FileLeases::current().leaseAgainstWriters(file);
                isGranted = isGranted && lease && (*lease)->isHeld();
            }
        });
        costs.push_back({cost.elapsed / kRepeats, cost.processor / kRepeats});
    }
    print("lease taken, asked and given back", medianOf(costs), isGranted ? "" : "  (not granted)");
}

/// One after the other, so that whatever else the machine does meets both.
static void measureWalk(const std::string &file, int rounds)
{
    bool isOpen = true;
    int status = 0;
    std::vector<Cost> walks, fusers;
    for (int round = 0; round < rounds; ++round) {
        bool isWritten = false;
        walks.push_back(costOf([&] { isOpen = DVFileUsage::isFileOpen(file, &isWritten, true); }));
        fusers.push_back(costOf([&] { status = runFuser(file); }));
    }
    const Cost walk = medianOf(walks), fuser = medianOf(fusers);
    print("walk over all processes", walk, isOpen ? "  (found a user)" : "");
    if (status < 0) {
        std::printf("fuser is not to be had here\n");
        return;
    }
    print("fuser on the same file", fuser, status == 0 ? "  (found a user)" : "");
    print("walk / fuser", {walk.elapsed / fuser.elapsed, walk.processor / fuser.processor});
}

int main(int argc, char **argv)
{
    const auto argument = [&](int at, int otherwise) { return argc > at ? std::atoi(argv[at]) : otherwise; };
    const int processes = argument(1, 500), descriptors = argument(2, 20), rounds = std::max(argument(3, 15), 1);
    std::string folder = "/tmp/open-file-benchmark.XXXXXX";
    if (!::mkdtemp(folder.data())) {
        std::perror("mkdtemp");
        return 1;
    }
    installEngineServices();
    const std::string file = folder + "/file";
    std::ofstream(file) << "content";
    std::list<FileHolder> holders;
    const bool isReady = startHolders(holders, processes, descriptors, folder);
    std::printf("%d processes of %d descriptors%s, median of %d\n", processes, descriptors,
                isReady ? "" : " (not all could be started)", rounds);
    std::printf("%-36s %12s %12s\n", "microseconds", "elapsed", "processor");
    measureLease(file, rounds);
    measureWalk(file, rounds);
    holders.clear();
    std::filesystem::remove_all(folder);
    return isReady ? 0 : 1;
}
