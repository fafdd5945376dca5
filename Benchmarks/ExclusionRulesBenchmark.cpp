#include "Classes/PrefPane/ExclusionRuleSet.h"
#include "Tests/Support/PlainMatching.h"

#include <benchmark/benchmark.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <thread>

// What a question to the exclusion rules costs, by the number of rules of each kind, beside a plain walk over the sets.
// With --check PATHS nothing is measured one by one: both are asked for that many paths with 10,000 rules of each kind,
// their answers compared and their times told.

static constexpr int kMostRules = 10000;

/// Names as people and programs give them: few words, many numbers, long common starts.
class Names
{
public:
    explicit Names(unsigned seed)
        : m_random(seed)
    {
    }

    std::string component()
    {
        static constexpr const char *kWords[] = {"src",   "Library", "Caches", "project", "node_modules", "Photos",
                                                 "build", "backup",  "data",   "release", "Documents",    "tmp"};
        return kWords[m_random() % std::size(kWords)] + std::to_string(m_random() % 100000);
    }
    std::string extension() { return "." + component(); }
    std::string folder(unsigned depth)
    {
        std::string path = "/home/user/" + component();
        for (unsigned level = 1; level < depth; ++level)
            path += "/" + component();
        return path;
    }
    std::string path() { return folder(2 + unsigned(m_random() % 5)) + "/" + component() + extension(); }

private:
    std::mt19937 m_random;
};

static void fill(ExclusionRuleSet &rules, int count)
{
    Names names(1);
    for (int number = 0; number < count; ++number) {
        rules.addRuleForPathSuffix(names.extension());
        rules.addRuleForPathPrefix(names.folder(2) + "/");
        rules.addRuleForPathComponent("/" + names.component() + "/");
        rules.addRuleForPathEqualsTo(names.path());
    }
}

static std::vector<std::string> makePaths(std::size_t count)
{
    Names names(2);
    std::vector<std::string> paths;
    paths.reserve(count);
    while (paths.size() < count)
        paths.push_back(names.path());
    return paths;
}

template <class Ask>
static void ask(benchmark::State &state, Ask answer)
{
    ExclusionRuleSet rules;
    fill(rules, int(state.range(0)));
    const std::vector<std::string> paths = makePaths(4096);
    benchmark::DoNotOptimize(rules.mustExcludePath(paths.front())); // makes the index
    std::size_t next = 0;
    for ([[maybe_unused]] auto step : state) {
        benchmark::DoNotOptimize(answer(rules, paths[next]));
        next = (next + 1) % paths.size();
    }
}

static void indexed(benchmark::State &state)
{
    ask(state, [](const ExclusionRuleSet &rules, const std::string &path) { return rules.mustExcludePath(path); });
}

static void plainWalk(benchmark::State &state)
{
    ask(state, matchesPlainly);
}

/// What the first question after a change costs.
static void makeIndex(benchmark::State &state)
{
    ExclusionRuleSet rules;
    fill(rules, int(state.range(0)));
    for ([[maybe_unused]] auto step : state) {
        rules.addRuleForPathSuffix(".again");
        benchmark::DoNotOptimize(rules.mustExcludePath("/a"));
    }
}

/// The time goes up with the length of the path alone.
static void byLength(benchmark::State &state)
{
    ExclusionRuleSet rules;
    fill(rules, kMostRules);
    Names names(3);
    std::string path = "/home/user";
    while (path.size() < std::size_t(state.range(0)))
        path += "/none" + names.component();
    path.resize(std::size_t(state.range(0)));
    for ([[maybe_unused]] auto step : state)
        benchmark::DoNotOptimize(rules.mustExcludePath(path));
}

BENCHMARK(indexed)->Arg(1)->Arg(10)->Arg(30)->Arg(100)->Arg(1000)->Arg(kMostRules)->Arg(5 * kMostRules);
BENCHMARK(plainWalk)->Arg(1)->Arg(10)->Arg(30)->Arg(100)->Arg(1000)->Arg(kMostRules);
BENCHMARK(makeIndex)->Arg(50)->Arg(kMostRules)->Unit(benchmark::kMillisecond);
BENCHMARK(byLength)->RangeMultiplier(2)->Range(32, 2048)->Complexity(benchmark::oN);

static double microseconds(std::chrono::steady_clock::duration time, std::size_t count)
{
    return std::chrono::duration<double, std::micro>(time).count() / double(count);
}

/// Asks both for all paths, the plain walk on all processors. Answers whether they agree.
static bool check(std::size_t count)
{
    ExclusionRuleSet rules;
    fill(rules, kMostRules);
    const std::vector<std::string> paths = makePaths(count);
    std::vector<char> answers(count);
    const auto start = std::chrono::steady_clock::now();
    for (std::size_t at = 0; at < count; ++at)
        answers[at] = rules.mustExcludePath(paths[at]);
    const double indexedTime = microseconds(std::chrono::steady_clock::now() - start, count);
    std::atomic<std::size_t> differing = 0;
    std::atomic<std::chrono::steady_clock::duration::rep> walked = 0;
    {
        const unsigned threadCount = std::max(1u, std::thread::hardware_concurrency());
        std::vector<std::jthread> threads;
        for (unsigned number = 0; number < threadCount; ++number) {
            threads.emplace_back([&, number] {
                const auto begin = std::chrono::steady_clock::now();
                for (std::size_t at = number; at < count; at += threadCount)
                    differing += matchesPlainly(rules, paths[at]) != bool(answers[at]);
                walked += (std::chrono::steady_clock::now() - begin).count();
            });
        }
    }
    const double walkTime = microseconds(std::chrono::steady_clock::duration(walked), count);
    std::printf("%zu paths, %td excluded, %zu answers differ\n"
                "indexed %.3f us a path (its making included), plain walk %.1f us, %.0f times as long\n",
                count, std::count(answers.begin(), answers.end(), 1), differing.load(), indexedTime, walkTime,
                walkTime / indexedTime);
    return differing == 0;
}

int main(int argc, char **argv)
{
    if (argc == 3 && std::strcmp(argv[1], "--check") == 0)
        return check(std::strtoull(argv[2], nullptr, 10)) ? EXIT_SUCCESS : EXIT_FAILURE;
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return EXIT_FAILURE;
    benchmark::RunSpecifiedBenchmarks();
    return EXIT_SUCCESS;
}
