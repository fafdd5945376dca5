#include "Classes/PrefPane/SqliteConnection.h"

#include "Tests/Support/FileContent.h"
#include "Tests/Support/PrivateHome.h"

#include <gtest/gtest.h>

namespace {

class SqliteConnectionTest : public ::testing::Test
{
protected:
    using Mode = SqliteConnection::Mode;

    static Result<std::unique_ptr<SqliteConnection>> open(const Path &file, Mode mode = Mode::ReadWrite)
    {
        return SqliteConnection::open(file, mode, 1000);
    }

    const Path m_folder = PrivateHome::current().makeFolder("sqlite");
};

TEST_F(SqliteConnectionTest, open_oddNames_areFilesOfThatName)
{
    for (const std::string name : {"plain", "a b", "q?mode=rw", "h#h", "p%20", "odd\xFF\xFE", "q\"'"}) {
        const Path file = m_folder / name;
        writeFile(file, "");
        const auto connection = open(file);
        ASSERT_TRUE(connection) << name << ": " << connection.failure().context;
        EXPECT_TRUE((*connection)->run("CREATE TABLE t (x)")) << name;
        EXPECT_NE(contentOf(file), "") << name;
    }
}

TEST_F(SqliteConnectionTest, open_pathThatBeginsWithTwoSlashes_isThatFile)
{
    const Path file = m_folder / "file";
    writeFile(file, "");
    const auto connection = open("/" + file.native());
    ASSERT_TRUE(connection) << connection.failure().context;
    EXPECT_TRUE((*connection)->run("CREATE TABLE t (x)"));
    EXPECT_NE(contentOf(file), "");
}

TEST_F(SqliteConnectionTest, open_missing_failsAndMakesNone)
{
    for (const Mode mode : {Mode::ReadOnly, Mode::ReadWrite})
        EXPECT_FALSE(open(m_folder / "none", mode));
    EXPECT_FALSE(std::filesystem::exists(m_folder / "none"));
}

TEST_F(SqliteConnectionTest, readOnly_writing_isNotPermitted)
{
    const Path file = m_folder / "file";
    writeFile(file, "");
    const auto connection = open(file, Mode::ReadOnly);
    ASSERT_TRUE(connection);
    const auto made = (*connection)->run("CREATE TABLE t (x)");
    ASSERT_FALSE(made);
    EXPECT_EQ(made.failure().code, ErrorCode::Permission);
    EXPECT_EQ(contentOf(file), "");
}

} // namespace
