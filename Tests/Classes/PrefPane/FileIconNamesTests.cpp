#include "Classes/PrefPane/FileIconNames.h"

#include "Tests/Support/FileContent.h"
#include "Tests/Support/PrivateHome.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {

/// A user who keeps music and pictures in folders of those names, and has set no place for videos.
class FileIconNamesTest : public ::testing::Test
{
protected:
    FileIconNamesTest()
    {
        fs::create_directories(home / "Tunes");
        fs::create_directories(home / "Photos");
        fs::create_directories(home / "Pictures");
        writeFile(home / ".config/user-dirs.dirs",
                  "XDG_MUSIC_DIR=\"$HOME/Tunes\"\nXDG_PICTURES_DIR=\"$HOME/Photos/\"\nXDG_VIDEOS_DIR=\"$HOME/\"\n");
    }

    const fs::path home = PrivateHome::current().home();
    FileIconNames icons;
};

} // namespace

TEST_F(FileIconNamesTest, foldersThatEveryUserHas_haveIconsOfTheirOwn)
{
    EXPECT_EQ(icons.of(home / "Tunes"), QStringList({QStringLiteral("folder-music"), QStringLiteral("folder")}));
    EXPECT_EQ(icons.of(home / "Photos"), QStringList({QStringLiteral("folder-pictures"), QStringLiteral("folder")}));
    EXPECT_EQ(icons.of(home), QStringList({QStringLiteral("user-home"), QStringLiteral("folder")}));
}

TEST_F(FileIconNamesTest, otherFolders_haveNone)
{
    EXPECT_EQ(icons.of(home / "Pictures"), QStringList()) << "the user keeps them elsewhere";
    EXPECT_EQ(icons.of("/"), QStringList());
}

TEST_F(FileIconNamesTest, fileInTheFoldersPlace_isNamedByItsType)
{
    writeFile(home / "plain", "text");
    writeFile(home / "page.html", "<html></html>");
    EXPECT_EQ(icons.of(home / "plain"), QStringList({QStringLiteral("text-plain"), QStringLiteral("text-x-generic")}));
    EXPECT_EQ(icons.of(home / "page.html").front(), QStringLiteral("text-html"));
}

TEST_F(FileIconNamesTest, pipe_isNotWaitedFor)
{
    fs::remove(home / "pipe");
    ASSERT_EQ(::mkfifo((home / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(icons.of(home / "pipe").front(), QStringLiteral("inode-fifo"));
}

TEST_F(FileIconNamesTest, whatIsNotThere_hasNone)
{
    EXPECT_EQ(icons.of(home / "nowhere"), QStringList());
    EXPECT_EQ(icons.of(home / std::string(300, 'a')), QStringList()) << "which cannot even be said";
}
