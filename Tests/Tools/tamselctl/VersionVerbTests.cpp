#include "Tests/Tools/tamselctl/Tamselctl.h"

#include <gmock/gmock.h>

TEST(VersionVerb, versions_areOrderedAsPeopleReadThem)
{
    EXPECT_EQ(tamselctl({"compare-versions", "1.0b2", "1.0b10"}).out, "1.0b2 < 1.0b10\n");
    EXPECT_EQ(tamselctl({"compare-versions", "1.0", "1.0b1"}).out, "1.0 > 1.0b1\n");
    EXPECT_EQ(tamselctl({"compare-versions", "1.0", "1.0"}).out, "1.0 = 1.0\n");
    EXPECT_EQ(tamselctl({"compare-versions", "--json", "1.9", "1.10"}).out,
              "{\"version\":\"1.9\",\"other\":\"1.10\",\"order\":-1}\n");
}

TEST(VersionVerb, oneVersion_isWrongUse)
{
    EXPECT_EQ(tamselctl({"compare-versions", "1.0"}).exitCode, 2);
}
