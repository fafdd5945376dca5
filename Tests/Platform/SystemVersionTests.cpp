#include "Platform/Fake/FakeSystemVersion.h"
#include "Platform/Linux/LinuxSystemVersion.h"
#include "Platform/SystemVersion.h"

#include <gtest/gtest.h>

#include <memory>

struct Implementation
{
    const char *name;
    std::unique_ptr<SystemVersion> (*make)();
};

static void PrintTo(const Implementation &implementation, std::ostream *stream)
{
    *stream << implementation.name;
}

class SystemVersionContract : public ::testing::TestWithParam<Implementation>
{
protected:
    const std::unique_ptr<SystemVersion> system = GetParam().make();
};

INSTANTIATE_TEST_SUITE_P(, SystemVersionContract,
                         ::testing::Values(Implementation{"linux",
                                                          []() -> std::unique_ptr<SystemVersion> {
                                                              return std::make_unique<LinuxSystemVersion>();
                                                          }},
                                           Implementation{"fake",
                                                          []() -> std::unique_ptr<SystemVersion> {
                                                              return std::make_unique<FakeSystemVersion>(10, 6, 8);
                                                          }}),
                         [](const auto &row) { return row.param.name; });

TEST_P(SystemVersionContract, gestalt_knownSelectors_answerTheVersion)
{
    EXPECT_EQ(system->gestalt(SystemVersion::kMajor).valueOr(-1), 10);
    EXPECT_EQ(system->gestalt(SystemVersion::kMinor).valueOr(-1), 6);
    EXPECT_EQ(system->gestalt(SystemVersion::kBugFix).valueOr(-1), 8);
    EXPECT_EQ(system->gestalt(SystemVersion::kPacked).valueOr(-1), 0x1068);
}

TEST_P(SystemVersionContract, gestalt_selectorCodes_areThePublishedOnes)
{
    EXPECT_EQ(system->gestalt(0x73797331).valueOr(-1), 10);
    EXPECT_EQ(system->gestalt(0x73797332).valueOr(-1), 6);
    EXPECT_EQ(system->gestalt(0x73797333).valueOr(-1), 8);
    EXPECT_EQ(system->gestalt(0x73797376).valueOr(-1), 0x1068);
}

TEST_P(SystemVersionContract, gestalt_unknownSelector_isNotSupported)
{
    const Result<std::int32_t> answer = system->gestalt(0x6e6f6e65);
    ASSERT_FALSE(answer);
    EXPECT_EQ(answer.failure().code, ErrorCode::NotSupported);
}
