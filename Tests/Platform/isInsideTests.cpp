#include "Platform/isInside.h"

#include <gtest/gtest.h>

TEST(isInside, folderItselfAndWhatIsInIt_yes)
{
    EXPECT_TRUE(isInside("/a/b", "/a/b"));
    EXPECT_TRUE(isInside("/a/b/c", "/a/b"));
    EXPECT_TRUE(isInside("/a/b//c", "/a/b"));
    EXPECT_TRUE(isInside("/caf\xE9/c", "/caf\xE9"));
}

TEST(isInside, besideIt_no)
{
    EXPECT_FALSE(isInside("/a/bc", "/a/b")) << "a name that only begins alike";
    EXPECT_FALSE(isInside("/a", "/a/b"));
    EXPECT_FALSE(isInside("/c", "/a/b"));
}

TEST(isInside, root_holdsEverything)
{
    EXPECT_TRUE(isInside("/", "/"));
    EXPECT_TRUE(isInside("/a", "/"));
    EXPECT_FALSE(isInside("/", "/a"));
}
