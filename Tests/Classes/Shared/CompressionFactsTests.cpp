#include "Classes/Shared/CompressionFacts.h"

#include <gmock/gmock.h>

#include <functional>

using ::testing::Eq;
using ::testing::Optional;

using Reason = CompressionFacts::Reason;
using Wish = CompressibleFile::Wish;

static constexpr std::int64_t kNow = 1'000'000;

/// Of a file against which nothing speaks.
static CompressionFacts good()
{
    CompressionFacts facts;
    facts.file.type = FileType::Regular;
    facts.file.owner = facts.user = 1000;
    facts.file.size = 100000;
    facts.now = kNow;
    facts.room = VolumeRoom{500, 1000};
    return facts;
}

static std::optional<Reason> reasonFor(const CompressionFacts &facts)
{
    return facts.reasonToLeaveAlone({});
}

TEST(CompressionFactsTest, nothingSpeaksAgainstIt_isCompressed)
{
    EXPECT_EQ(reasonFor(good()), std::nullopt);
}

TEST(CompressionFactsTest, eachFact_isAReasonByItself)
{
    using Change = std::function<void(CompressionFacts &)>;
    const std::pair<Change, Reason> rows[] = {
        {[](CompressionFacts &facts) { facts.file.type = FileType::Link; }, Reason::NotRegular},
        {[](CompressionFacts &facts) { facts.file.type = FileType::Directory; }, Reason::NotRegular},
        {[](CompressionFacts &facts) { facts.file.owner = 0; }, Reason::AnothersFile},
        {[](CompressionFacts &facts) { facts.isExcluded = true; }, Reason::Excluded},
        {[](CompressionFacts &facts) { facts.file.size = 0; }, Reason::TooSmall},
        {[](CompressionFacts &facts) { facts.file.size = facts.blockSize; }, Reason::TooSmall},
        {[](CompressionFacts &facts) { facts.isWritable = false; }, Reason::NotWritable},
        {[](CompressionFacts &facts) { facts.file.modified = kNow - 299; }, Reason::Young},
        {[](CompressionFacts &facts) { facts.file.changed = kNow - 299; }, Reason::Young},
        {[](CompressionFacts &facts) { facts.file.changed = kNow + 299; }, Reason::Young},
        {[](CompressionFacts &facts) { facts.wish = Wish::LeaveAlone; }, Reason::SwitchedOff},
        {[](CompressionFacts &facts) { facts.isWrittenInPlace = true; }, Reason::WrittenInPlace},
        {[](CompressionFacts &facts) { facts.isShared = true; }, Reason::Shared},
        {[](CompressionFacts &facts) { facts.hasPlainContent = false; }, Reason::AlreadyCompressed},
        {[](CompressionFacts &facts) {
             facts.room = VolumeRoom{49, 1000};
         },
         Reason::NearlyFull},
    };
    for (const auto &[change, reason] : rows) {
        CompressionFacts facts = good();
        change(facts);
        EXPECT_THAT(reasonFor(facts), Optional(Eq(reason))) << CompressionFacts::nameOf(reason);
    }
}

TEST(CompressionFactsTest, facts_justWithinTheLimits_areNoReason)
{
    using Change = std::function<void(CompressionFacts &)>;
    const Change rows[] = {
        [](CompressionFacts &facts) { facts.file.size = facts.blockSize + 1; },
        [](CompressionFacts &facts) { facts.file.modified = facts.file.changed = kNow - 300; },
        [](CompressionFacts &facts) { facts.file.modified = kNow + 300; }, // any program may write such a time
        [](CompressionFacts &facts) {
            facts.room = VolumeRoom{50, 1000};
        },
        [](CompressionFacts &facts) { facts.wish = Wish::Compress; },
    };
    for (const Change &change : rows) {
        CompressionFacts facts = good();
        change(facts);
        EXPECT_EQ(reasonFor(facts), std::nullopt) << &change - rows;
    }
}

TEST(CompressionFactsTest, youth_canBeSwitchedOff)
{
    CompressionFacts facts = good();
    facts.file.modified = facts.file.changed = kNow;
    EXPECT_EQ(facts.reasonToLeaveAlone({std::chrono::seconds(0), 5}), std::nullopt);
}

TEST(CompressionFactsTest, names_ofReasons_leadBack)
{
    for (int number = 0; number <= int(Reason::BeingWritten); ++number) {
        const std::string name = CompressionFacts::nameOf(Reason(number));
        EXPECT_FALSE(name.empty()) << number;
        EXPECT_EQ(CompressionFacts::reasonNamed(name), Reason(number)) << name;
    }
    EXPECT_EQ(CompressionFacts::reasonNamed("nothing"), std::nullopt);
}
