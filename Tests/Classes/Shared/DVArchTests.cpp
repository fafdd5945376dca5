#include "Classes/Shared/DVArch.h"
#include "Platform/Fake/FakeSystemVersion.h"

#include <gtest/gtest.h>

struct Answers
{
    bool tigerOrLater, leopardOrLater, leopard, snowLeopardOrLater, snowLeopard;

    friend bool operator==(const Answers &, const Answers &) = default;
};

static Answers answersOn(FakeSystemVersion &&system)
{
    const Override<SystemVersion> override(system);
    return {DVArch::runningOnTigerOrLater(), DVArch::runningOnLeopardOrLater(), DVArch::runningOnLeopard(),
            DVArch::runningOnSnowLeopardOrLater(), DVArch::runningOnSnowLeopard()};
}

static std::string versionOn(FakeSystemVersion &&system)
{
    const Override<SystemVersion> override(system);
    return DVArch::getOperatingSystemVersionString();
}

static constexpr Answers kNo = {};

TEST(DVArch, runningOn_eachMinorVersion_answersAsTold)
{
    EXPECT_EQ(answersOn({10, 3, 9}), kNo);
    EXPECT_EQ(answersOn({10, 4, 0}), (Answers{true, false, false, false, false}));
    EXPECT_EQ(answersOn({10, 5, 8}), (Answers{true, true, false, false, false}));
    EXPECT_EQ(answersOn({10, 6, 0}), (Answers{true, true, true, true, true}));
    EXPECT_EQ(answersOn({10, 6, 8}), (Answers{true, true, true, true, true}));
    EXPECT_EQ(answersOn({10, 7, 0}), (Answers{true, true, false, true, false}));
}

TEST(DVArch, runningOn_otherMajorVersion_isNo)
{
    EXPECT_EQ(answersOn({11, 6, 0}), kNo);
    EXPECT_EQ(answersOn({9, 6, 0}), kNo);
    EXPECT_EQ(answersOn({26, 0, 0}), kNo);
}

TEST(DVArch, runningOn_majorOrMinorUnknown_isNo)
{
    for (const std::uint32_t selector : {SystemVersion::kMajor, SystemVersion::kMinor}) {
        FakeSystemVersion system(10, 6, 8);
        system.values.erase(selector);
        EXPECT_EQ(answersOn(std::move(system)), kNo);
    }
}

TEST(DVArch, runningOn_bugFixAndPackedUnknown_doesNotMatter)
{
    FakeSystemVersion system(10, 6, 8);
    system.values.erase(SystemVersion::kBugFix);
    system.values.erase(SystemVersion::kPacked);
    EXPECT_EQ(answersOn(std::move(system)), (Answers{true, true, true, true, true}));
}

TEST(DVArch, versionString_allKnown_isMadeOfTheThree)
{
    EXPECT_EQ(versionOn({10, 6, 8}), "10.6.8");
    FakeSystemVersion system(10, 15, 12);
    system.values[SystemVersion::kPacked] = 0x1068;
    EXPECT_EQ(versionOn(std::move(system)), "10.15.12");
    EXPECT_EQ(versionOn({-1, 0, 0}), "-1.0.0");
}

TEST(DVArch, versionString_anyOfTheThreeUnknown_isThePackedOne)
{
    for (const std::uint32_t selector : {SystemVersion::kMajor, SystemVersion::kMinor, SystemVersion::kBugFix}) {
        FakeSystemVersion system(1, 1, 1);
        system.values[SystemVersion::kPacked] = 0x1068;
        system.values.erase(selector);
        EXPECT_EQ(versionOn(std::move(system)), "10.6.8");
    }
}

TEST(DVArch, versionString_packed_isPrintedByDigitsFromTheLowSixteenBits)
{
    FakeSystemVersion system(0, 0, 0);
    system.values.erase(SystemVersion::kMajor);
    const std::pair<std::int32_t, const char *> rows[] = {
        {0x1068, "10.6.8"}, {0x0948, "09.4.8"}, {0x10FA, "10.15.10"}, {0x7fff1049, "10.4.9"}, {0xABCD, "1011.12.13"}};
    for (const auto &[packed, text] : rows) {
        system.values[SystemVersion::kPacked] = packed;
        EXPECT_EQ(versionOn(std::move(system)), text);
    }
}

TEST(DVArch, versionString_nothingKnown_isNines)
{
    FakeSystemVersion system(10, 6, 8);
    system.values.clear();
    EXPECT_EQ(versionOn(std::move(system)), "999999");
}

TEST(DVArch, onThisSystem_isTheLevelOfThePort)
{
    EXPECT_EQ(DVArch::getOperatingSystemVersionString(), "10.6.8");
    EXPECT_TRUE(DVArch::runningOnSnowLeopard());
}
