#include "Platform/Fake/FakeSuddenTermination.h"
#include "Platform/Linux/LinuxSuddenTermination.h"
#include "Platform/SuddenTermination.h"

#include <gtest/gtest.h>

#include <csignal>
#include <thread>
#include <vector>

struct Implementation
{
    const char *name;
    SuddenTermination &(*get)();
};

static void PrintTo(const Implementation &implementation, std::ostream *stream)
{
    *stream << implementation.name;
}

static SuddenTermination &fake()
{
    static FakeSuddenTermination s_fake;
    return s_fake;
}

class SuddenTerminationContract : public ::testing::TestWithParam<Implementation>
{
protected:
    SuddenTermination &termination = GetParam().get();
};

INSTANTIATE_TEST_SUITE_P(, SuddenTerminationContract,
                         ::testing::Values(Implementation{"linux",
                                                          []() -> SuddenTermination & {
                                                              return LinuxSuddenTermination::instance();
                                                          }},
                                           Implementation{"fake", fake}),
                         [](const auto &row) { return row.param.name; });

TEST_P(SuddenTerminationContract, isDisabled_untilEachDisableIsMatched)
{
    EXPECT_FALSE(termination.isDisabled());
    termination.disable();
    termination.disable();
    EXPECT_TRUE(termination.isDisabled());
    termination.enable();
    EXPECT_TRUE(termination.isDisabled());
    termination.enable();
    EXPECT_FALSE(termination.isDisabled());
}

TEST_P(SuddenTerminationContract, guard_lastsForItsScope)
{
    const Override<SuddenTermination> override(termination);
    {
        const SuddenTerminationGuard outer;
        {
            const SuddenTerminationGuard inner;
        }
        EXPECT_TRUE(termination.isDisabled());
    }
    EXPECT_FALSE(termination.isDisabled());
}

TEST_P(SuddenTerminationContract, manyThreads_allMatched_isEnabled)
{
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 8; ++i)
            threads.emplace_back([this] {
                for (int j = 0; j < 1000; ++j) {
                    termination.disable();
                    EXPECT_TRUE(termination.isDisabled());
                    termination.enable();
                }
            });
    }
    EXPECT_FALSE(termination.isDisabled());
}

TEST(SuddenTermination, installed_isLinuxsOne)
{
    EXPECT_EQ(&SuddenTermination::current(), &LinuxSuddenTermination::instance());
}

TEST(LinuxSuddenTermination, takeEnd_signal_isAnsweredOnceAndNotWhileDisabled)
{
    LinuxSuddenTermination &termination = LinuxSuddenTermination::instance();
    EXPECT_EQ(termination.wakeDescriptor(), -1);
    ASSERT_TRUE(termination.catchSignals());
    const int descriptor = termination.wakeDescriptor();
    ASSERT_TRUE(termination.catchSignals());
    EXPECT_EQ(termination.wakeDescriptor(), descriptor);
    EXPECT_FALSE(termination.takeEnd());
    termination.disable();
    for (int i = 0; i < 100'000; ++i) // more than a pipe holds
        ::raise(SIGTERM);
    EXPECT_FALSE(termination.takeEnd());
    termination.enable();
    EXPECT_TRUE(termination.takeEnd());
    EXPECT_FALSE(termination.takeEnd());
    ::raise(SIGTERM);
    EXPECT_TRUE(termination.takeEnd());
}
