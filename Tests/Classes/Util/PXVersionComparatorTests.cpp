#include "Classes/Util/PXVersionComparator.h"

#include <gmock/gmock.h>

#include <ostream>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

struct Row
{
    const char *name;
    const char *version;
    const char *other;
    int order;

    friend void PrintTo(const Row &row, std::ostream *out) { *out << row.version << " against " << row.other; }
};

class PXVersionComparatorRows : public ::testing::TestWithParam<Row>
{
};

const Row kRows[] = {
    {"same", "1.0", "1.0", 0},
    {"numbers_by_value", "1.10", "1.9", 1},
    {"plain_against_beta", "1.0", "1.0b1", 1},
    {"betas_by_number", "1.0b2", "1.0b10", -1},
    {"longer_is_newer", "1.0", "1.0.1", -1},
    {"period_against_letter", "1.5", "1a", 1},
    {"first_part_decides", "11", "1.", 1},
    {"number_where_a_period_is", "1..2", "1.2", -1},
    {"capitals_come_first", "1.0a", "1.0B", 1},
    {"empty_is_older", "", "1", -1},
    {"empty_against_letters", "", "b", 1},
    {"both_empty", "", "", 0},
    {"leading_zeros", "1.01", "1.1", 0},
    {"number_beyond_32_bits", "1.99999999999", "1.2147483647", 0},
};

} // namespace

TEST_P(PXVersionComparatorRows, compareVersion_bothWays_areOpposites)
{
    const PXVersionComparator &comparator = PXVersionComparator::defaultComparator();
    EXPECT_EQ(comparator.compareVersion(GetParam().version, GetParam().other), GetParam().order);
    EXPECT_EQ(comparator.compareVersion(GetParam().other, GetParam().version), -GetParam().order);
}

INSTANTIATE_TEST_SUITE_P(Rows, PXVersionComparatorRows, ::testing::ValuesIn(kRows),
                         [](const auto &row) { return row.param.name; });

TEST(PXVersionComparator, splitVersionString_runsAndPeriods_arePartsOfTheirOwn)
{
    const PXVersionComparator comparator;
    EXPECT_THAT(comparator.splitVersionString("1.10b2"), ElementsAre("1", ".", "10", "b", "2"));
    EXPECT_THAT(comparator.splitVersionString("1..2"), ElementsAre("1", ".", ".", "2"));
    EXPECT_THAT(comparator.splitVersionString(""), IsEmpty());
    EXPECT_THAT(comparator.splitVersionString("rc-1 x"), ElementsAre("rc-", "1", " x"));
}

TEST(PXVersionComparator, typeOfCharacter_eachKind_isToldApart)
{
    using Type = PXVersionComparator::Type;
    const PXVersionComparator comparator;
    EXPECT_EQ(comparator.typeOfCharacter("."), Type::Period);
    EXPECT_EQ(comparator.typeOfCharacter("7"), Type::Number);
    EXPECT_EQ(comparator.typeOfCharacter("b"), Type::String);
    EXPECT_EQ(comparator.typeOfCharacter("-"), Type::String);
}
