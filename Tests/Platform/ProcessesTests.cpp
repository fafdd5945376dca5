#include "Platform/Fake/FakeProcesses.h"
#include "Platform/Linux/LinuxProcesses.h"
#include "Platform/Processes.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>

#include <grp.h>
#include <unistd.h>

using Groups = std::vector<std::uint32_t>;

struct Implementation
{
    const char *name;
    /// A service for a process with these groups; nullptr when this user cannot be given them.
    std::function<std::unique_ptr<Processes>(const Groups &)> make;
};

static void PrintTo(const Implementation &implementation, std::ostream *stream)
{
    *stream << implementation.name;
}

static std::unique_ptr<Processes> makeLinux(const Groups &groups)
{
    const std::vector<gid_t> ids(groups.begin(), groups.end());
    if (::setgroups(ids.size(), ids.data()) != 0)
        return nullptr;
    return std::make_unique<LinuxProcesses>();
}

static std::unique_ptr<Processes> makeFake(const Groups &groups)
{
    auto processes = std::make_unique<FakeProcesses>();
    processes->groups = groups;
    return processes;
}

class ProcessesContract : public ::testing::TestWithParam<Implementation>
{
};

INSTANTIATE_TEST_SUITE_P(, ProcessesContract,
                         ::testing::Values(Implementation{"linux", makeLinux}, Implementation{"fake", makeFake}),
                         [](const auto &row) { return row.param.name; });

TEST_P(ProcessesContract, supplementaryGroups_noneAndMany_areAnswered)
{
    Groups many;
    for (std::uint32_t group = 5000; group < 5100; ++group)
        many.push_back(group);
    for (const Groups &groups : {Groups(), Groups{7}, many}) {
        const auto processes = GetParam().make(groups);
        if (!processes)
            GTEST_SKIP() << "only root can change its groups";
        EXPECT_EQ(processes->supplementaryGroups().valueOr({99}), groups);
    }
}

TEST(LinuxProcesses, supplementaryGroups_asAnyUser_areTheSystems)
{
    std::vector<gid_t> expected(std::size_t(::getgroups(0, nullptr)));
    ASSERT_GE(::getgroups(int(expected.size()), expected.data()), 0);
    EXPECT_EQ(LinuxProcesses().supplementaryGroups().valueOr({99}), Groups(expected.begin(), expected.end()));
}

TEST(FakeProcesses, failures_call_canBeMadeToFail)
{
    FakeProcesses processes;
    processes.failures.failCall(0, ErrorCode::Io);
    EXPECT_FALSE(processes.supplementaryGroups());
    EXPECT_TRUE(processes.supplementaryGroups());
}
