#include "Classes/Shared/isDirectory.h"
#include "Tests/Support/PrivateHome.h"

#include <gtest/gtest.h>

#include <fstream>

namespace fs = std::filesystem;

TEST(isDirectory, directoryAndLinkToOne_isYes)
{
    const Path folder = PrivateHome::current().makeFolder("folder");
    fs::create_directory_symlink(folder, PrivateHome::current().root() / "link");
    EXPECT_TRUE(isDirectory(folder));
    EXPECT_TRUE(isDirectory(folder / ""));
    EXPECT_TRUE(isDirectory(PrivateHome::current().root() / "link"));
    EXPECT_TRUE(isDirectory("/"));
}

TEST(isDirectory, anythingElse_isNo)
{
    const Path folder = PrivateHome::current().makeFolder("folder");
    std::ofstream(folder / "file") << "content";
    fs::create_symlink(folder / "file", folder / "linkToFile");
    fs::create_symlink(folder / "missing", folder / "dangling");
    fs::create_symlink(folder / "loop", folder / "loop");
    for (const char *name : {"file", "linkToFile", "dangling", "loop", "missing", "file/below"})
        EXPECT_FALSE(isDirectory(folder / name)) << name;
    EXPECT_FALSE(isDirectory(""));
}
