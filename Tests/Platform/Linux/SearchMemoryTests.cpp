#include "Platform/Linux/SearchMemory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <future>
#include <vector>

using End = SearchMemory::End;

static Bytes key(int number)
{
    return bytesOf("key " + std::to_string(number));
}

TEST(SearchMemory, isWorthwhile_vainSearch_isNotRepeatedInTheSameState)
{
    SearchMemory memory;
    EXPECT_TRUE(memory.isWorthwhile(key(1), "before"));
    memory.note(key(1), "before", End::Vain);
    EXPECT_FALSE(memory.isWorthwhile(key(1), "before"));
    EXPECT_FALSE(memory.isWorthwhile(key(1), "before", SearchMemory::Clock::now() + std::chrono::hours(100)));
    EXPECT_TRUE(memory.isWorthwhile(key(1), "after"));
    EXPECT_TRUE(memory.isWorthwhile(key(2), "before"));
    EXPECT_EQ(memory.lastFound(key(1)), std::nullopt);
}

TEST(SearchMemory, isWorthwhile_unfinishedSearch_isRepeatedLaterEachTime)
{
    SearchMemory memory;
    SearchMemory::Clock::time_point now{};
    const auto isWorthwhileAfter = [&](std::chrono::minutes pause) {
        return memory.isWorthwhile(key(1), "state", now + pause);
    };
    memory.note(key(1), "state", End::Unfinished, {}, now);
    EXPECT_FALSE(isWorthwhileAfter(std::chrono::minutes(0)));
    EXPECT_TRUE(isWorthwhileAfter(std::chrono::minutes(1)));
    memory.note(key(1), "state", End::Unfinished, {}, now);
    EXPECT_FALSE(isWorthwhileAfter(std::chrono::minutes(1)));
    EXPECT_TRUE(isWorthwhileAfter(std::chrono::minutes(2)));
    for (int time = 0; time < 100; ++time)
        memory.note(key(1), "state", End::Unfinished, {}, now);
    EXPECT_FALSE(isWorthwhileAfter(std::chrono::minutes(59)));
    EXPECT_TRUE(isWorthwhileAfter(std::chrono::minutes(60)));
}

TEST(SearchMemory, lastFound_foundAgainOrLost_isTheLast)
{
    SearchMemory memory;
    memory.note(key(1), "state", End::Found, "/one");
    memory.note(key(1), "state", End::Found, "/two");
    EXPECT_EQ(memory.lastFound(key(1)), "/two");
    EXPECT_TRUE(memory.isWorthwhile(key(1), "state")) << "it may have moved on";
    memory.note(key(1), "state", End::Vain);
    EXPECT_EQ(memory.lastFound(key(1)), std::nullopt);
}

TEST(SearchMemory, note_moreThanAreRemembered_forgetsTheOldest)
{
    SearchMemory memory(3);
    for (const int number : {1, 2, 3, 1, 4})
        memory.note(key(number), "state", End::Vain);
    EXPECT_TRUE(memory.isWorthwhile(key(2), "state")) << "the oldest, since the first was noted again";
    for (const int number : {1, 3, 4})
        EXPECT_FALSE(memory.isWorthwhile(key(number), "state")) << number;
}

TEST(SearchMemory, turn_severalThreads_haveItOneByOne)
{
    SearchMemory memory;
    std::atomic<int> inside = 0;
    std::atomic<int> most = 0;
    std::vector<std::future<void>> threads;
    for (int thread = 0; thread < 8; ++thread) {
        threads.push_back(std::async(std::launch::async, [&] {
            for (int round = 0; round < 100; ++round) {
                const SearchMemory::Turn turn(memory, key(1));
                const int now = ++inside;
                most = std::max(most.load(), now);
                --inside;
            }
        }));
    }
    for (auto &thread : threads)
        thread.get();
    EXPECT_EQ(most, 1);
    const SearchMemory::Turn one(memory, key(1));
    const SearchMemory::Turn another(memory, key(2)); // waits for nobody
}
