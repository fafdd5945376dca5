#include "Benchmarks/Timing.h"
#include "Platform/Linux/AliasSearch.h"
#include "Platform/Linux/LinuxAliasManager.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <unistd.h>
#include <vector>

// What it takes to find the folder of an alias record: where it was, beside the system calls that this needs and
// nothing else; and moved to another place of its volume, beside find with its inode number.
// "AliasBenchmark [ENTRIES [ROUNDS]]" below TMPDIR.

namespace fs = std::filesystem;

static constexpr int kVerifications = 20000;

/// What tells the folder from any other, asked of the system and thrown away.
static bool askBare(const fs::path &folder)
{
    char target[4096];
    fs::path walked;
    for (const fs::path &part : folder.parent_path()) {
        walked /= part;
        if (walked != "/" && ::readlink(walked.c_str(), target, sizeof target) >= 0)
            return false;
    }
    const int file = ::open(folder.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC);
    struct statx status = {};
    struct statfs volume = {};
    alignas(file_handle) std::array<char, sizeof(file_handle) + 128> room = {};
    auto *const handle = reinterpret_cast<file_handle *>(room.data());
    handle->handle_bytes = 128;
    int mount = 0;
    const std::string link = "/proc/self/fd/" + std::to_string(file);
    bool isDone = ::statx(file, "", AT_EMPTY_PATH, STATX_BASIC_STATS | STATX_BTIME, &status) == 0 &&
                  ::fstatfs(file, &volume) == 0 && ::readlink(link.c_str(), target, sizeof target) > 0 &&
                  ::name_to_handle_at(file, "", handle, &mount, AT_EMPTY_PATH) == 0;
    const int opened = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    struct stat again = {};
    isDone = isDone && ::fstat(opened, &again) == 0;
    std::array<char, 32> uuid = {};
    ::ioctl(opened, _IOR(0x15, 0, char[17]), uuid.data());
    ::close(opened);
    ::close(file);
    return isDone;
}

static AliasIdentity identityOf(const fs::path &folder)
{
    return *AliasIdentity::parse(*AliasRecord::parse(*LinuxAliasManager().newAlias(folder))->find(AliasTag::kIdentity));
}

static void makeTree(const fs::path &folder, int entries)
{
    fs::path below;
    for (int number = 0; number < entries; ++number) {
        if (number % 500 == 0) {
            below = folder / std::to_string(number / 50000) / std::to_string(number / 500);
            fs::create_directories(below);
        }
        std::ofstream(below / std::to_string(number)).flush();
    }
}

static void require(bool holds, const char *what)
{
    if (holds)
        return;
    std::fprintf(stderr, "%s\n", what);
    std::exit(1);
}

static double microseconds(const std::function<void()> &each)
{
    const auto start = std::chrono::steady_clock::now();
    for (int count = 0; count < kVerifications; ++count)
        each();
    const auto taken = std::chrono::steady_clock::now() - start;
    return std::chrono::duration<double, std::micro>(taken).count() / kVerifications;
}

static void measureInPlace(const fs::path &folder, int rounds)
{
    const LinuxAliasManager manager;
    const Bytes record = *manager.newAlias(folder);
    std::vector<double> above;
    for (int round = 0; round <= rounds; ++round) { // the first for the caches
        const double found = microseconds([&] { require(bool(manager.resolve(record)), "The folder is not found."); });
        const double bare = microseconds([&] { require(askBare(folder), "A system call fails."); });
        if (round > 0)
            above.push_back(found - bare);
        std::printf("in place %.2f us, bare system calls %.2f us, above them %.2f us\n", found, bare, found - bare);
    }
    std::sort(above.begin(), above.end());
    std::printf("above the bare system calls, median of %d: %.2f us\n", rounds, above[above.size() / 2]);
}

/// A search that finds nothing, as find with its number: both walk the whole tree. And one that ends where the folder
/// is, in whatever order the system tells of it.
static void measureSearch(const fs::path &tree, int entries, int rounds)
{
    const fs::path first = tree / "0/0/lost", second = tree / "0/0/found";
    fs::create_directories(first);
    AliasIdentity identity = identityOf(first);
    fs::rename(first, second);
    const MountTable mounts = *MountTable::read();
    const AliasSearch::Limits wide{std::size_t(2) * std::size_t(entries) + 100000, std::chrono::minutes(10)};
    const std::string find = "find '" + tree.native() + "' -inum ";
    Timing timing;
    timing.add("search for what is not there", [&] {
        AliasIdentity nobody = identity;
        nobody.inode = 1;
        AliasSearch search(nobody, mounts, wide);
        require(!search.find(tree / "lost", tree), "What is not there is found.");
        require(search.entries() >= std::size_t(entries), "Not everything was searched.");
    });
    timing.add("find -inum of it", [&] { require(std::system((find + "1").c_str()) == 0, "find fails."); });
    timing.add("search for the moved folder", [&] {
        AliasSearch search(identity, mounts, wide);
        require(search.find(tree / "lost", tree) == second, "The moved folder is not found.");
    });
    timing.add("find -inum of it, -quit", [&] {
        const std::string command = find + std::to_string(identity.inode) + " -quit > /dev/null";
        require(std::system(command.c_str()) == 0, "find fails.");
    });
    timing.measure(1); // for the caches
    timing.measure(rounds);
    timing.print(std::to_string(entries) + " entries");
}

int main(int argc, char **argv)
{
    const auto argument = [&](int at, int otherwise) { return argc > at ? std::atoi(argv[at]) : otherwise; };
    const int entries = argument(1, 500000), rounds = argument(2, 7);
    std::string folder = fs::temp_directory_path() / "alias-benchmark.XXXXXX";
    require(::mkdtemp(folder.data()), "There is no room below the temporary folder.");
    folder = fs::canonical(folder);
    measureInPlace(folder, rounds);
    makeTree(fs::path(folder) / "tree", entries);
    measureSearch(fs::path(folder) / "tree", entries, rounds);
    fs::remove_all(folder);
    return 0;
}
