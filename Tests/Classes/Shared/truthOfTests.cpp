#include "Classes/Shared/truthOf.h"

#include <gtest/gtest.h>

#include <limits>

TEST(truthOf, numbers_countByBeingOtherThanZero)
{
    for (const auto &[value, truth] : {std::pair<PropertyList, bool>{true, true},
                                       {false, false},
                                       {0, false},
                                       {1, true},
                                       {-1, true},
                                       {std::numeric_limits<std::uint64_t>::max(), true},
                                       {0.0, false},
                                       {0.5, true}})
        EXPECT_EQ(truthOf(&value), truth);
}

TEST(truthOf, texts_countByTheirFirstTellingCharacter)
{
    for (const char *text : {"YES", "yes", "true", "T", "1", "+1", "-7", "007", " \tY"}) {
        const PropertyList value(text);
        EXPECT_EQ(truthOf(&value), true) << text;
    }
    for (const char *text : {"", "NO", "false", "0", "000", "+", "  ", "off", "on"}) {
        const PropertyList value(text);
        EXPECT_EQ(truthOf(&value), false) << text;
    }
}

TEST(truthOf, otherKinds_haveNone)
{
    EXPECT_EQ(truthOf(nullptr), std::nullopt);
    for (const PropertyList &value : {PropertyList(PropertyList::Array{true}), PropertyList(Bytes{1}),
                                      PropertyList(PropertyListDate{1}), PropertyList(PropertyList::Dictionary())})
        EXPECT_EQ(truthOf(&value), std::nullopt);
}
