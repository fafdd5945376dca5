#include "Classes/PrefPane/ExclusionRuleSet.h"
#include "Tests/Support/PlainMatching.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <mutex>
#include <random>
#include <thread>

// What a question to the exclusion rules costs, by the number of rules of each kind, beside a plain walk over the sets.
// With --check PATHS nothing is measured one by one: both are asked for that many paths with 10,000 rules of each kind,
// their answers compared and their times told; that fails when they differ or the rules are slower than is promised.
// The walk is made over rows there, which is quicker than one over the sets.

static constexpr int kMostRules = 10000;

// What is promised for so many rules of each kind.
static constexpr double kLongestAnswerUs = 5;
static constexpr double kLeastGain = 20;

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
    benchmark::DoNotOptimize(rules.matchForPath(paths.front())); // makes the index
    std::size_t next = 0;
    for ([[maybe_unused]] auto step : state) {
        benchmark::DoNotOptimize(answer(rules, paths[next]));
        next = (next + 1) % paths.size();
    }
}

/// As callers do: few rules are walked over.
static void asked(benchmark::State &state)
{
    ask(state, [](const ExclusionRuleSet &rules, const std::string &path) { return rules.mustExcludePath(path); });
}

static void indexed(benchmark::State &state)
{
    const auto match = [](const ExclusionRuleSet &rules, const std::string &path) {
        return rules.matchForPath(path).has_value();
    };
    ask(state, match);
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
    benchmark::DoNotOptimize(rules.mustExcludePath(path)); // makes the index
    state.SetComplexityN(state.range(0));
    for ([[maybe_unused]] auto step : state)
        benchmark::DoNotOptimize(rules.mustExcludePath(path));
}

// The two ways are equally quick at kFewRules / 4.
static constexpr int kFew = int(ExclusionRuleSet::kFewRules) / 4;
BENCHMARK(asked)->DenseRange(kFew - 2, kFew + 3)->Arg(10)->Arg(100)->Arg(1000)->Arg(kMostRules)->Arg(5 * kMostRules);
BENCHMARK(indexed)->DenseRange(kFew - 2, kFew + 3)->Arg(10)->Arg(100)->Arg(1000)->Arg(kMostRules);
BENCHMARK(plainWalk)->DenseRange(kFew - 2, kFew + 3)->Arg(10)->Arg(100)->Arg(1000)->Arg(kMostRules);
BENCHMARK(makeIndex)->Arg(50)->Arg(kMostRules)->Unit(benchmark::kMillisecond);
BENCHMARK(byLength)->RangeMultiplier(2)->Range(32, 4096)->Complexity(benchmark::oN);

/// What this thread has had of a processor, in microseconds: other programs' work does not count.
static double threadTime()
{
    timespec time = {};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return double(time.tv_sec) * 1e6 + double(time.tv_nsec) / 1e3;
}

/// The sets in a row each: what a plain walk over them asks, in a form that a million paths can wait for.
class Rows
{
public:
    explicit Rows(const ExclusionRuleSet &rules)
        : m_suffixes(rules.suffixRules().begin(), rules.suffixRules().end())
        , m_prefixes(rules.prefixRules().begin(), rules.prefixRules().end())
        , m_components(rules.componentRules().begin(), rules.componentRules().end())
        , m_exact(rules.exactRules().begin(), rules.exactRules().end())
    {
    }

    bool match(const std::string &path) const
    {
        const auto contains = [&path](const std::string &rule) {
            return ::memmem(path.data(), path.size(), rule.data(), rule.size()) != nullptr;
        };
        return std::ranges::any_of(m_suffixes, [&](const std::string &rule) { return path.ends_with(rule); }) ||
               std::ranges::any_of(m_prefixes, [&](const std::string &rule) { return path.starts_with(rule); }) ||
               std::ranges::any_of(m_components, contains) ||
               std::ranges::any_of(m_exact, [&](const std::string &rule) { return path == rule; });
    }

private:
    std::vector<std::string> m_suffixes, m_prefixes, m_components, m_exact;
};

/// How many answers of a plain walk differ, asked on all processors; adds the time that it took to `walkTime`.
static std::size_t countDifferences(const ExclusionRuleSet &rules, const std::vector<std::string> &paths,
                                    const std::vector<char> &answers, double &walkTime)
{
    const Rows rows(rules);
    std::mutex mutex;
    std::size_t differing = 0;
    std::vector<std::jthread> threads;
    const unsigned threadCount = std::max(1u, std::thread::hardware_concurrency());
    for (unsigned number = 0; number < threadCount; ++number) {
        threads.emplace_back([&, number] {
            std::size_t count = 0;
            for (std::size_t at = number; at < paths.size(); at += threadCount)
                count += rows.match(paths[at]) != bool(answers[at]);
            const std::lock_guard lock(mutex);
            differing += count;
            walkTime += threadTime();
        });
    }
    threads.clear();
    return differing;
}

/// Asks both for all paths. Answers whether they agree, and the rules answer as quickly as is promised.
static bool check(std::size_t count)
{
    ExclusionRuleSet rules;
    fill(rules, kMostRules);
    const std::vector<std::string> paths = makePaths(count);
    std::vector<char> answers(count);
    const double making = threadTime();
    static_cast<void>(rules.mustExcludePath("/")); // makes the index
    const double start = threadTime();
    for (std::size_t at = 0; at < count; ++at)
        answers[at] = rules.mustExcludePath(paths[at]);
    const double indexedTime = (threadTime() - start) / double(count);
    double walkTime = 0;
    const std::size_t differing = countDifferences(rules, paths, answers, walkTime);
    walkTime /= double(count);
    std::printf("%zu paths, %td excluded, %zu answers differ\n"
                "indexed %.3f us a path (made in %.1f ms), plain walk over rows %.1f us, %.0f times as long\n",
                count, std::count(answers.begin(), answers.end(), 1), differing, indexedTime, (start - making) / 1000,
                walkTime, walkTime / indexedTime);
    return differing == 0 && indexedTime < kLongestAnswerUs && walkTime / indexedTime >= kLeastGain;
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
