#include "Classes/Shared/LastPathComponentCompare.h"

#include <gtest/gtest.h>

static ComparisonResult compare(const char *left, const char *right)
{
    return lastPathComponentCompare(QString::fromUtf8(left), QString::fromUtf8(right));
}

TEST(LastPathComponentCompare, sameNamesInOtherFoldersAndCase_areTheSame)
{
    EXPECT_EQ(compare("/x/abc", "/y/ABC"), ComparisonResult::Same);
    EXPECT_EQ(compare("/x/\xc3\x89t\xc3\xa9", "/y/\xc3\xa9T\xc3\x89"), ComparisonResult::Same);
}

TEST(LastPathComponentCompare, onlyTheLastComponentCounts)
{
    EXPECT_EQ(compare("/b/Apple", "/a/zebra"), ComparisonResult::Ascending);
    EXPECT_EQ(compare("/a/zebra", "/b/Apple"), ComparisonResult::Descending);
}

TEST(LastPathComponentCompare, slashesAtTheEnd_areLeftOut)
{
    EXPECT_EQ(compare("/x/abc/", "/y/abc"), ComparisonResult::Same);
    EXPECT_EQ(compare("/x/abc//", "/y/abc"), ComparisonResult::Same);
}

TEST(LastPathComponentCompare, rootAndNothing_haveNames)
{
    EXPECT_EQ(lastPathComponent(QStringLiteral("/")), QStringLiteral("/"));
    EXPECT_EQ(lastPathComponent(QStringLiteral("//")), QStringLiteral("/"));
    EXPECT_EQ(lastPathComponent(QString()), QString());
    EXPECT_EQ(lastPathComponent(QStringLiteral("name")), QStringLiteral("name"));
    EXPECT_EQ(compare("", "/"), ComparisonResult::Ascending);
}
