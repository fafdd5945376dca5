#include "Classes/Shared/SharedInstance.h"

#include <gtest/gtest.h>

#include <set>
#include <thread>
#include <vector>

namespace {

class Counted
{
    friend class SharedInstance<Counted>;
    Counted() = default;
    void init() { ++initialised; }

public:
    int initialised = 0;
};

class AsksForItself
{
    friend class SharedInstance<AsksForItself>;
    AsksForItself() = default;
    void init() { seen = SharedInstance<AsksForItself>::shared(); }

public:
    AsksForItself *seen = nullptr;
};

} // namespace

TEST(SharedInstance, alloc_theSecondTime_answersNothing)
{
    Counted *const first = SharedInstance<Counted>::alloc();
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(SharedInstance<Counted>::alloc(), nullptr);
    EXPECT_EQ(SharedInstance<Counted>::shared(), first);
    EXPECT_EQ(first->initialised, 1);
}

TEST(SharedInstance, shared_fromManyThreads_makesOne)
{
    std::vector<Counted *> seen(16);
    {
        std::vector<std::jthread> threads;
        for (Counted *&slot : seen)
            threads.emplace_back([&slot] { slot = SharedInstance<Counted>::shared(); });
    }
    EXPECT_EQ(std::set<Counted *>(seen.begin(), seen.end()).size(), 1u);
    EXPECT_EQ(seen.front()->initialised, 1);
}

TEST(SharedInstance, shared_askedDuringInit_answersTheInstanceBeingMade)
{
    AsksForItself *const instance = SharedInstance<AsksForItself>::shared();
    EXPECT_EQ(instance->seen, instance);
}
