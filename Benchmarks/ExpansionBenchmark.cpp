#include "Benchmarks/CompressedMaterial.h"
#include "Benchmarks/Timing.h"
#include "Classes/PrefPane/PXPathUncompressor.h"
#include "Classes/Shared/DVHFSUncompressor.h"
#include "Platform/Services.h"

#include <cstdlib>
#include <grp.h>
#include <list>
#include <unistd.h>

// What an expansion takes beside what it has to do at least (read, inflate the same blocks, write, sync), and beside
// unpacking an archive of the same bytes. "ExpansionBenchmark [MIB [FILES [ROUNDS]]]" below TMPDIR: one file of so many
// MiB, and so many files of 100 KiB; 0 leaves either out.

using CompressedMaterial::Subject;

static bool runQuietly(const std::string &command)
{
    return std::system((command + " > /dev/null 2>&1").c_str()) == 0;
}

static void fail(const std::string &reason)
{
    std::fprintf(stderr, "%s\n", reason.c_str());
    std::exit(1);
}

/// Adds 7z as another way, where there is one. `folder` holds the expanded files.
static void addRival(Timing &timing, const Path &folder, const Path &place)
{
    const std::string archive = place / "archive.zip", out = place / "unpacked";
    if (!runQuietly("cd '" + folder.native() + "' && 7z a -tzip -mm=Deflate -mx=6 '" + archive + "' . '-x!*.kept'")) {
        std::printf("7z is not to be had here\n");
        return;
    }
    const auto unpack = [=] {
        if (!runQuietly("7z x -y '-o" + out + "' '" + archive + "'"))
            fail("7z has not unpacked " + archive);
    };
    timing.add("7z x of the same bytes", unpack, [=] { std::filesystem::remove_all(out); });
}

static void check(bool isExpanded, const Path &path)
{
    if (!isExpanded)
        fail(path.native() + " was not expanded");
}

static void measureOne(const Path &root, const Bytes &content, int rounds)
{
    const Path folder = root / "one";
    std::filesystem::create_directory(folder);
    const Subject subject(folder / "file", content);
    subject.restore();
    check(DVHFSUncompressor::expandInPlacePath(subject.file()), subject.file());
    Timing timing;
    const auto restore = [&] { subject.restore(); };
    timing.add(
        "expanded", [&] { check(DVHFSUncompressor::expandInPlacePath(subject.file()), subject.file()); }, restore);
    timing.add(
        "the same blocks by libdeflate, one sync", [&] { subject.inflateBarely(false); }, restore);
    timing.add(
        "the same blocks by zlib alone, one sync", [&] { subject.inflateBarely(true); }, restore);
    addRival(timing, folder, root);
    timing.measure(rounds);
    timing.print("one file of " + std::to_string(content.size() >> 20) + " MiB");
    std::filesystem::remove_all(folder);
}

static void measureMany(const Path &root, const Bytes &content, int files, int rounds)
{
    constexpr std::size_t kSize = 100 << 10, kStep = 128 << 10;
    const Path folder = root / "many";
    std::list<Subject> subjects;
    for (int number = 0; number < files; ++number) {
        const Path below = folder / std::to_string(number / 100);
        std::filesystem::create_directories(below);
        // From the beginning of a block: two halves together may not become smaller.
        const std::size_t at = std::size_t(number) % (content.size() / kStep) * kStep;
        subjects.emplace_back(below / std::to_string(number), ByteView(content).subspan(at, kSize));
    }
    const auto restore = [&] {
        for (const Subject &subject : subjects)
            subject.restore();
    };
    const auto expand = [&] { PXPathUncompressor::runUncompressorWithPath(folder, nullptr); };
    const auto checkAll = [&] {
        for (const Subject &subject : subjects)
            check(subject.isWhole(), subject.file());
    };
    restore();
    expand();
    checkAll();
    Timing timing;
    timing.add("expanded", expand, restore, checkAll);
    timing.add(
        "the same blocks by libdeflate, a sync a file",
        [&] {
            for (const Subject &subject : subjects)
                subject.inflateBarely(false);
        },
        restore);
    addRival(timing, folder, root);
    timing.measure(rounds);
    timing.print(std::to_string(files) + " files of 100 KiB");
}

int main(int argc, char **argv)
{
    const auto argument = [&](int at, int otherwise) { return argc > at ? std::atoi(argv[at]) : otherwise; };
    const int megabytes = argument(1, 1024), files = argument(2, 10000), rounds = argument(3, 7);
    std::string folder = std::filesystem::temp_directory_path() / "expansion-benchmark.XXXXXX";
    if (!::mkdtemp(folder.data())) {
        std::perror("mkdtemp");
        return 1;
    }
    const gid_t group = ::getegid();
    if (::geteuid() == 0 && ::setgroups(1, &group) != 0) // files of a group that root is not in are left alone
        std::perror("setgroups");
    installEngineServices();
    constexpr int kEnough = 256; // so that the many files are different ones
    const Bytes content = CompressedMaterial::collect(std::size_t(std::max(megabytes, kEnough)) << 20);
    if (megabytes > 0)
        measureOne(folder, Bytes(content.begin(), content.begin() + (std::ptrdiff_t(megabytes) << 20)), rounds);
    if (files > 0)
        measureMany(folder, content, files, rounds);
    std::filesystem::remove_all(folder);
    return 0;
}
