#include "Classes/PrefPane/Exclusions.h"

#include "Platform/Types.h"
#include "Tests/Support/PrivateHome.h"

#include <gmock/gmock.h>

namespace fs = std::filesystem;

TEST(Exclusions, nothing_leavesOutNothing)
{
    const Exclusions none;
    EXPECT_FALSE(none.leavesOut("/a/b.jpg"));
    EXPECT_FALSE(none.leavesOutAllBelow("/a"));
}

TEST(Exclusions, path_leavesOutItselfAndWhatLiesBelow)
{
    const Exclusions exclusions(nullptr, {"/a/b", "/file.txt"}, {});
    for (const char *path : {"/a/b", "/a/b/c", "/a/b/c/d.e", "/file.txt"})
        EXPECT_TRUE(exclusions.leavesOut(path)) << path;
    for (const char *path : {"/a", "/a/bc", "/a/B/c", "/b", "/x/a/b", "/file.txt2"})
        EXPECT_FALSE(exclusions.leavesOut(path)) << path;
    EXPECT_TRUE(exclusions.leavesOutAllBelow("/a/b"));
    EXPECT_FALSE(exclusions.leavesOutAllBelow("/a"));
}

TEST(Exclusions, pathWithSlashesAtItsEnd_countsAsWithout)
{
    const Exclusions exclusions(nullptr, {"/a/b//"}, {});
    EXPECT_TRUE(exclusions.leavesOut("/a/b"));
    EXPECT_TRUE(exclusions.leavesOut("/a/b/c"));
}

TEST(Exclusions, rootAndWhatIsNotAbsolute_countForNothing)
{
    const Exclusions exclusions(nullptr, {"/", "//", "", "a", "."}, {""});
    for (const char *path : {"/a", "/a/b", "/b."})
        EXPECT_FALSE(exclusions.leavesOut(path)) << path;
}

TEST(Exclusions, linkInAPath_meansThePlaceBehindItToo)
{
    const fs::path folder = PrivateHome::current().makeFolder("linked");
    fs::create_directories(folder / "real/inner");
    fs::create_symlink(folder / "real", folder / "link");
    const Exclusions exclusions(nullptr, {folder / "link/inner"}, {});
    EXPECT_TRUE(exclusions.leavesOut(folder / "link/inner/file"));
    EXPECT_TRUE(exclusions.leavesOut(folder / "real/inner/file"));
    EXPECT_FALSE(exclusions.leavesOut(folder / "real/file"));
}

TEST(Exclusions, extension_isComparedWithTheEndOfTheName)
{
    const Exclusions exclusions(nullptr, {}, {"jpg", "tar.gz", "a"});
    for (const char *path : {"/x/a.jpg", "/x/a.b.jpg", "/x/b.tar.gz", "/x.jpg/c.a", "/..jpg", "name.jpg"})
        EXPECT_TRUE(exclusions.leavesOut(path)) << path;
    for (const char *path :
         {"/x/a.JPG", "/x/jpg", "/x/.jpg", "/x/a.jpg.txt", "/x.jpg/file", "/x/b.gz", "/x/ajpg", "/x/a."})
        EXPECT_FALSE(exclusions.leavesOut(path)) << path;
    EXPECT_FALSE(exclusions.leavesOutAllBelow("/x.jpg")) << "a folder's extension says nothing of its files";
}

TEST(Exclusions, rules_countBesideTheLists)
{
    ExclusionRuleSet rules;
    rules.addRuleForPathComponent("/.git/");
    rules.addRuleForPathSuffix(".dmg");
    const Exclusions exclusions(&rules, {"/a"}, {"zip"});
    for (const char *path : {"/b/.git/config", "/b/x.dmg", "/a/x", "/b/x.zip"})
        EXPECT_TRUE(exclusions.leavesOut(path)) << path;
    EXPECT_FALSE(exclusions.leavesOut("/b/x"));
    EXPECT_TRUE(exclusions.leavesOutAllBelow("/b/.git"));
    EXPECT_FALSE(exclusions.leavesOutAllBelow("/b/x.dmg"));
}
