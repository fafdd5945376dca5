#include "Classes/Util/PXVersionComparator.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <new>
#include <ostream>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

static std::size_t s_allocations = 0;

void *operator new(std::size_t size)
{
    ++s_allocations;
    if (void *const memory = std::malloc(size == 0 ? 1 : size))
        return memory;
    throw std::bad_alloc();
}

void operator delete(void *memory) noexcept
{
    std::free(memory);
}

void operator delete(void *memory, std::size_t) noexcept
{
    std::free(memory);
}

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
    {"number_far_beyond", "99999999999999999999999999999999", "2147483646", 1},
    {"digits_of_another_script", "1.\u0661\u0660", "1.9", 1},
    {"same_number_in_two_scripts", "\u0967\u0966.0", "10.0", 0},
    {"digits_outside_the_first_plane", "1.\U0001D7D2", "1.4", 0},
    {"scripts_mixed_in_one_number", "1\u0662", "12", 0},
    {"roman_numeral_is_a_letter", "1.0\u2167", "1.0", -1},
    {"letters_beyond_ascii_by_code", "1.0\u03b2", "1.0b", 1},
    {"bytes_that_are_no_text", "1.0\xff", "1.0", -1},
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

TEST(PXVersionComparator, splitVersionString_charactersOfSeveralBytes_stayWhole)
{
    const PXVersionComparator comparator;
    EXPECT_THAT(comparator.splitVersionString("\u0661\u0662\u03b2\u0663"),
                ElementsAre("\u0661\u0662", "\u03b2", "\u0663"));
    EXPECT_THAT(comparator.splitVersionString("1\xd9"), ElementsAre("1", "\xd9")) << "a digit that is cut off";
}

TEST(PXVersionComparator, compareVersion_allocatesNothingButTheParts)
{
    const PXVersionComparator comparator;
    const std::string version = "1.22222222222222222222.release-candidate-7";
    const std::string other = "1.22222222222222222222.release-candidate-8";
    std::size_t before = s_allocations;
    comparator.splitVersionString(version);
    comparator.splitVersionString(other);
    const std::size_t forParts = s_allocations - before;
    before = s_allocations;
    EXPECT_EQ(comparator.compareVersion(version, other), -1);
    EXPECT_EQ(s_allocations - before, forParts);
}

TEST(PXVersionComparator, typeOfCharacter_eachKind_isToldApart)
{
    using Type = PXVersionComparator::Type;
    const PXVersionComparator comparator;
    EXPECT_EQ(comparator.typeOfCharacter("."), Type::Period);
    EXPECT_EQ(comparator.typeOfCharacter("7"), Type::Number);
    EXPECT_EQ(comparator.typeOfCharacter("b"), Type::String);
    EXPECT_EQ(comparator.typeOfCharacter("-"), Type::String);
    EXPECT_EQ(comparator.typeOfCharacter("\u0e53"), Type::Number);
    EXPECT_EQ(comparator.typeOfCharacter("\u00b2"), Type::String) << "no decimal digit";
    EXPECT_EQ(comparator.typeOfCharacter(".."), Type::String);
}
