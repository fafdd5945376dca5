#include "Classes/Shared/stringWithFileSystemRepresentation.h"
#include "Tests/Support/PrivateHome.h"

#include <gtest/gtest.h>

#include <fstream>

namespace fs = std::filesystem;

TEST(stringWithFileSystemRepresentation, anyBytes_areKept)
{
    EXPECT_EQ(stringWithFileSystemRepresentation(""), "");
    EXPECT_EQ(stringWithFileSystemRepresentation("/a/\xC3\xA9/\xFF"), "/a/\xC3\xA9/\xFF");
    EXPECT_EQ(stringWithFileSystemRepresentation("/a/e\xCC\x81"), "/a/e\xCC\x81");
}

class stringByCanonicalizingPathTest : public ::testing::Test
{
protected:
    const Path folder = PrivateHome::current().makeFolder("folder");
};

TEST_F(stringByCanonicalizingPathTest, linksAndDots_areResolved)
{
    fs::create_directories(folder / "a/b");
    fs::create_directory_symlink("a", folder / "link");
    EXPECT_EQ(stringByCanonicalizingPath(folder / "link/./b/../b"), folder / "a/b");
    EXPECT_EQ(stringByCanonicalizingPath(folder / "a//b/"), folder / "a/b");
    EXPECT_EQ(stringByCanonicalizingPath("/"), "/");
}

TEST_F(stringByCanonicalizingPathTest, file_isResolvedToo)
{
    std::ofstream(folder / "file\xFF") << "content";
    fs::create_symlink("file\xFF", folder / "link");
    EXPECT_EQ(stringByCanonicalizingPath(folder / "link").native(), (folder / "file\xFF").native());
}

TEST_F(stringByCanonicalizingPathTest, relativePath_becomesAbsolute)
{
    fs::create_directory(folder / "a");
    fs::current_path(folder);
    EXPECT_EQ(stringByCanonicalizingPath("a"), folder / "a");
    EXPECT_EQ(stringByCanonicalizingPath("."), folder);
}

TEST_F(stringByCanonicalizingPathTest, whatCannotBeResolved_isUnchanged)
{
    std::ofstream(folder / "file") << "content";
    fs::create_symlink("loop", folder / "loop");
    const std::string tooLong = folder / std::string(300, 'a');
    const std::string withNul = folder.native() + std::string("\0/missing", 9);
    for (const std::string &path : {std::string(), std::string("missing/../x"), (folder / "missing/..").native(),
                                    (folder / "loop").native(), (folder / "file/..").native(), tooLong, withNul})
        EXPECT_EQ(stringByCanonicalizingPath(path).native(), path);
}
