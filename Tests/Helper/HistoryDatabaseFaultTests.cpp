// What the database does when something goes wrong: no change that was answered is lost, no file is overwritten.
#include "Helper/HistoryDatabase.h"

#include "Tests/Support/FileContent.h"
#include "Tests/Support/HistoryFixture.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/WriterProcess.h"

#include <QProcess>

#include <gmock/gmock.h>

#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::StartsWith;

namespace {

class HistoryDatabaseFaultTest : public ::testing::Test
{
protected:
    Result<std::unique_ptr<HistoryDatabase>> open()
    {
        return HistoryDatabase::open(m_store, HistoryFixture::seed(), HistoryFixture::model());
    }

    std::vector<std::string> setAside() const
    {
        std::vector<std::string> names;
        for (const auto &entry : fs::directory_iterator(m_folder)) {
            const std::string name = entry.path().filename();
            if (name.find("set-aside") != std::string::npos)
                names.push_back(name);
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    const Path m_folder = PrivateHome::current().makeFolder("support");
    const Path m_store = m_folder / "history.db";
};

TEST_F(HistoryDatabaseFaultTest, open_pageIsDamaged_setsTheStoreAsideAndStartsAnew)
{
    {
        const auto database = *open();
        for (int folder = 0; folder < 200; ++folder)
            ASSERT_TRUE(database->addFolder("/folder" + std::to_string(folder), Bytes(500, 7)));
    }
    std::string content = contentOf(m_store);
    ASSERT_GT(content.size(), 20'000U);
    content.replace(12'000, 3000, std::string(3000, '\xa5'));
    writeFile(m_store, content);

    const Result<std::unique_ptr<HistoryDatabase>> database = open();

    ASSERT_TRUE(database) << database.failure().context;
    EXPECT_THAT(*(*database)->folders(), IsEmpty());
    ASSERT_THAT(setAside(), Not(IsEmpty()));
    EXPECT_EQ(contentOf(m_folder / setAside().front()), content);
}

TEST_F(HistoryDatabaseFaultTest, open_damagedWithCompanions_setsAllAsideUnderOneName)
{
    writeFile(m_store, std::string(9000, 'x'));
    writeFile(m_folder / "history.db-wal", "changes");

    ASSERT_TRUE(open());

    const std::vector<std::string> names = setAside();
    ASSERT_THAT(names, ElementsAre(EndsWith(".db"), EndsWith(".db-shm"), EndsWith(".db-wal")));
    EXPECT_EQ(names[0] + "-wal", names[2]);
    EXPECT_EQ(contentOf(m_folder / names[2]), "changes");
}

struct Content
{
    std::string name;
    std::string bytes;

    friend void PrintTo(const Content &content, std::ostream *stream) { *stream << content.name; }
};

class NotAStore : public HistoryDatabaseFaultTest, public ::testing::WithParamInterface<Content>
{
};

TEST_P(NotAStore, open_isSetAsideWhole)
{
    const std::string content = GetParam().bytes;
    writeFile(m_store, content);

    const Result<std::unique_ptr<HistoryDatabase>> database = open();

    ASSERT_TRUE(database) << database.failure().context;
    EXPECT_TRUE((*database)->addFolder("/a", {}));
    ASSERT_THAT(setAside(), SizeIs(1));
    EXPECT_EQ(contentOf(m_folder / setAside().front()), content);
}

INSTANTIATE_TEST_SUITE_P(Content, NotAStore,
                         ::testing::Values(Content{"nothing", ""}, Content{"text", "a shopping list"},
                                           Content{"magicAlone", "SQLite format 3"},
                                           Content{"longText", std::string(9000, 'x')}),
                         [](const auto &row) { return row.param.name; });

TEST_F(HistoryDatabaseFaultTest, open_otherTables_isSetAside)
{
    writeFile(m_store, "");
    {
        const auto connection = *SqliteConnection::open(m_store, SqliteConnection::Mode::ReadWrite, 1000);
        ASSERT_TRUE(connection->run("CREATE TABLE ZHISTORY (Z_PK INTEGER PRIMARY KEY, ZFOLDER VARCHAR)"));
    }
    ASSERT_TRUE(open());
    EXPECT_THAT(setAside(), SizeIs(1));
}

TEST_F(HistoryDatabaseFaultTest, open_pipeInItsPlace_isSetAsideAndNotWaitedFor)
{
    for (const char *const suffix : {"", "-journal", "-wal", "-shm"}) {
        ASSERT_EQ(::mkfifo((m_store.native() + suffix).c_str(), 0600), 0);
        const Result<std::unique_ptr<HistoryDatabase>> database = open();
        ASSERT_TRUE(database) << suffix << ": " << database.failure().context;
        EXPECT_TRUE((*database)->addFolder("/a", {}));
        int pipes = 0;
        for (const auto &entry : fs::directory_iterator(m_folder)) {
            pipes += entry.is_fifo() ? 1 : 0;
            EXPECT_FALSE(entry.is_fifo() && entry.path() == m_store.native() + suffix);
        }
        EXPECT_EQ(pipes, 1) << "after " << suffix;
        fs::remove_all(m_folder);
        fs::create_directory(m_folder);
    }
}

TEST_F(HistoryDatabaseFaultTest, open_noFileInACompanionsPlace_isSetAsideAndTheStoreStays)
{
    ASSERT_TRUE((*open())->addFolder("/recorded", {}));
    for (const char *const suffix : {"-journal", "-wal", "-shm"}) {
        const Path companion = m_store.native() + suffix;
        for (const bool isFolder : {true, false}) {
            if (isFolder)
                fs::create_directories(companion / "below");
            else
                ASSERT_EQ(::mkfifo(companion.c_str(), 0600), 0);
            const std::size_t before = setAside().size();
            const Result<std::unique_ptr<HistoryDatabase>> database = open();
            ASSERT_TRUE(database) << suffix << ": " << database.failure().context;
            EXPECT_THAT(*(*database)->folders(), SizeIs(1));
            EXPECT_TRUE((*database)->setProgress(1, 1, 1));
            ASSERT_EQ(setAside().size(), before + 1) << suffix;
            EXPECT_THAT(setAside(), Contains(EndsWith(suffix)));
        }
    }
}

TEST_F(HistoryDatabaseFaultTest, open_viewOrTrigger_isSetAsideAndNotRun)
{
    const char *const kEndless =
        "CREATE VIEW ENDLESS AS WITH RECURSIVE n(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM n) "
        "SELECT x FROM n";
    const char *const kTrigger = "CREATE TRIGGER T AFTER UPDATE ON ZHISTORY BEGIN DELETE FROM ZHISTORY; END";
    for (const char *const statement : {kEndless, kTrigger}) {
        ASSERT_TRUE(open());
        {
            const auto connection = *SqliteConnection::open(m_store, SqliteConnection::Mode::ReadWrite, 1000);
            ASSERT_TRUE(connection->run(statement));
        }
        ASSERT_TRUE(open());
    }
    const std::vector<std::string> names = setAside(); // with what lay beside each
    EXPECT_EQ(std::ranges::count_if(names, [](const std::string &name) { return name.ends_with(".db"); }), 2);
}

TEST_F(HistoryDatabaseFaultTest, open_damagedTimeAfterTime_keepsEveryOne)
{
    for (const std::string content : {"first", "second", "third"}) {
        writeFile(m_store, content);
        ASSERT_TRUE(open());
    }
    std::vector<std::string> contents;
    for (const std::string &name : setAside())
        contents.push_back(contentOf(m_folder / name));
    EXPECT_THAT(contents, ::testing::UnorderedElementsAre("first", "second", "third"));
}

TEST_F(HistoryDatabaseFaultTest, open_lockedByAnotherProcess_isBusyAndTouchesNothing)
{
    WriterProcess writer(m_store);
    ASSERT_EQ(writer.run("add /a"), "1");
    ASSERT_EQ(writer.run("lock"), "locked");

    const Result<std::unique_ptr<HistoryDatabase>> refused = open();
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.failure().code, ErrorCode::Busy) << refused.failure().context;
    EXPECT_THAT(setAside(), IsEmpty());

    ASSERT_EQ(writer.run("unlock"), "open");
    const Result<std::unique_ptr<HistoryDatabase>> opened = open();
    ASSERT_TRUE(opened);
    EXPECT_THAT(*(*opened)->folders(), SizeIs(1));
}

TEST_F(HistoryDatabaseFaultTest, change_lockedByAnotherProcess_isBusyAndSucceedsLater)
{
    const auto database = *open();
    const auto other = *SqliteConnection::open(m_store, SqliteConnection::Mode::ReadWrite, 1000);
    ASSERT_TRUE(other->run("BEGIN IMMEDIATE"));

    const Result<qint64> refused = database->addFolder("/a", {});
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.failure().code, ErrorCode::Busy);

    ASSERT_TRUE(other->run("ROLLBACK"));
    EXPECT_TRUE(database->addFolder("/a", {}));
}

TEST_F(HistoryDatabaseFaultTest, open_storeIsAFolder_failsAndLeavesIt)
{
    fs::create_directory(m_store);
    ASSERT_FALSE(open());
    EXPECT_TRUE(fs::is_directory(m_store));
    EXPECT_THAT(setAside(), IsEmpty());
}

TEST_F(HistoryDatabaseFaultTest, open_noSeed_failsAndMakesNothing)
{
    const auto database = HistoryDatabase::open(m_store, m_folder / "no seed", HistoryFixture::model());
    ASSERT_FALSE(database);
    EXPECT_EQ(database.failure().code, ErrorCode::NotFound);
    EXPECT_FALSE(fs::exists(m_store));
}

TEST_F(HistoryDatabaseFaultTest, writerIsKilled_everyAnsweredChangeIsThere)
{
    for (int round = 0; round < 5; ++round) {
        WriterProcess writer(m_store);
        ASSERT_EQ(writer.opening(), "open");
        for (int folder = 0; folder < 10; ++folder) {
            const std::string name = "/" + std::to_string(round) + "/" + std::to_string(folder);
            ASSERT_EQ(writer.run("add " + name), std::to_string(round * 10 + folder + 1));
        }
        writer.kill();
    }
    const auto database = *open();
    EXPECT_THAT(*database->folders(), SizeIs(50));
    EXPECT_THAT(setAside(), IsEmpty());
}

TEST_F(HistoryDatabaseFaultTest, open_readOnlyFolder_isRefusedAndTouchesNothing)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root can become another user";
    {
        const auto database = *open();
        ASSERT_TRUE(database->addFolder("/a", {}));
    }
    fs::permissions(PrivateHome::current().root(), fs::perms(0755));
    const std::string before = contentOf(m_store);

    const WriterProcess writer(m_store, true);

    EXPECT_THAT(writer.opening(), StartsWith("failed "));
    EXPECT_EQ(contentOf(m_store), before);
    EXPECT_THAT(setAside(), IsEmpty());
}

TEST_F(HistoryDatabaseFaultTest, noStoreInAReadOnlyFolder_isRefusedAsPermission)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root can become another user";
    fs::permissions(PrivateHome::current().root(), fs::perms(0755));

    const WriterProcess writer(m_store, true);

    const std::string permission = std::to_string(static_cast<int>(ErrorCode::Permission));
    EXPECT_THAT(writer.opening(), StartsWith("failed " + permission));
    EXPECT_TRUE(fs::is_empty(m_folder));
}

/// A disk of its own that is soon full.
class FullDiskTest : public HistoryDatabaseFaultTest
{
protected:
    void SetUp() override
    {
        if (::geteuid() != 0)
            GTEST_SKIP() << "only root can mount a small disk";
        const QString folder = QString::fromStdString(m_folder.native());
        if (QProcess::execute(QStringLiteral("mount"),
                              {QStringLiteral("-t"), QStringLiteral("tmpfs"), QStringLiteral("-o"),
                               QStringLiteral("size=256k"), QStringLiteral("tmpfs"), folder}) != 0)
            GTEST_SKIP() << "no small disk can be mounted here";
        m_isMounted = true;
    }

    void TearDown() override
    {
        if (m_isMounted)
            QProcess::execute(QStringLiteral("umount"),
                              {QStringLiteral("-l"), QString::fromStdString(m_folder.native())});
    }

private:
    bool m_isMounted = false;
};

TEST_F(FullDiskTest, addFolder_diskIsFull_keepsWhatWasThere)
{
    std::size_t added = 0;
    {
        const auto database = *open();
        for (;; ++added) {
            const Result<qint64> key = database->addFolder("/folder" + std::to_string(added), Bytes(4000, 7));
            if (!key) {
                EXPECT_EQ(key.failure().code, ErrorCode::NoSpace) << key.failure().context;
                break;
            }
            ASSERT_LT(added, 1000U) << "the disk never fills";
        }
        ASSERT_GT(added, 0U);
        EXPECT_EQ(database->folders()->size(), added);
    }
    const Result<std::unique_ptr<HistoryDatabase>> again = open();
    ASSERT_TRUE(again) << again.failure().context;
    EXPECT_EQ((*again)->folders()->size(), added);
    EXPECT_THAT(setAside(), IsEmpty());
}

TEST_F(FullDiskTest, open_diskIsFull_makesNoHalfStore)
{
    writeFile(m_folder / "ballast", std::string(1'000'000, 'x'));

    const Result<std::unique_ptr<HistoryDatabase>> refused = open();
    ASSERT_FALSE(refused);
    EXPECT_FALSE(fs::exists(m_store));

    fs::remove(m_folder / "ballast");
    EXPECT_TRUE(open());
}

} // namespace
