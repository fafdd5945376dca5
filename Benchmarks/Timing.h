#pragma once

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

/// Times in seconds of several ways to do one thing, taken in turns, so that whatever else the machine does meets all.
class Timing final
{
public:
    /// `prepare` runs before each measurement and `check` after it; neither is measured.
    void add(std::string name, std::function<void()> run, std::function<void()> prepare = {},
             std::function<void()> check = {})
    {
        m_ways.push_back({std::move(name), std::move(run), std::move(prepare), std::move(check), {}});
    }

    /// Goes every way once without measuring it, so that the caches are as warm for the first as for the last.
    void warmUp()
    {
        measure(1);
        for (Way &way : m_ways)
            way.seconds.clear();
    }

    void measure(int rounds)
    {
        for (int round = 0; round < rounds; ++round) {
            for (Way &way : m_ways) {
                if (way.prepare)
                    way.prepare();
                const auto start = std::chrono::steady_clock::now();
                way.run();
                way.seconds.push_back(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
                if (way.check)
                    way.check();
            }
        }
    }

    /// The median, the range, and how many times the first way's speed is that of each.
    void print(const std::string &heading)
    {
        std::printf("%s, median of %zu\n", heading.c_str(), m_ways.front().seconds.size());
        for (Way &way : m_ways) {
            std::sort(way.seconds.begin(), way.seconds.end());
            std::printf("  %-44s %9.3f s (%.3f to %.3f)   first / this = %.2f\n", way.name.c_str(), median(way),
                        way.seconds.front(), way.seconds.back(), median(way) / median(m_ways.front()));
        }
        std::fflush(stdout);
    }

private:
    struct Way
    {
        std::string name;
        std::function<void()> run;
        std::function<void()> prepare;
        std::function<void()> check;
        std::vector<double> seconds;
    };

    static double median(const Way &way) { return way.seconds[way.seconds.size() / 2]; }

    std::vector<Way> m_ways;
};
