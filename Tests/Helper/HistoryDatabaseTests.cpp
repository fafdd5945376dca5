#include "Helper/HistoryDatabase.h"

#include "Classes/PrefPane/HistoryQuery.h"
#include "Tests/Support/HistoryFixture.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/WriterProcess.h"

#include <gmock/gmock.h>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

class HistoryDatabaseTest : public ::testing::Test
{
protected:
    /// One number, read past the class under test.
    qint64 number(const std::string &statement)
    {
        const auto connection = *SqliteConnection::open(m_store, SqliteConnection::Mode::ReadOnly, 1000);
        Result<QSqlQuery> query = connection->run(statement);
        EXPECT_TRUE(query) << (query ? "" : query.failure().context);
        return query && query->next() ? query->value(0).toLongLong() : -1;
    }

    std::vector<WatchedFolder> folders() { return *m_database->folders(); }
    void reopen()
    {
        m_database.reset();
        m_database = HistoryFixture::openDatabase(m_store);
    }

    const Path m_store = PrivateHome::current().makeFolder("support") / "history.db";
    const Bytes m_alias = bytesOf("alias");
    std::unique_ptr<HistoryDatabase> m_database = HistoryFixture::openDatabase(m_store);
};

TEST_F(HistoryDatabaseTest, open_noStore_makesAnEmptyOne)
{
    EXPECT_THAT(folders(), IsEmpty());
    EXPECT_EQ(number("SELECT COUNT(*) FROM pragma_journal_mode WHERE journal_mode = 'wal'"), 1);
}

TEST_F(HistoryDatabaseTest, addFolder_newOne_isWatchedWithoutSavings)
{
    const qint64 key = *m_database->addFolder("/home/me/Music", m_alias);

    EXPECT_THAT(folders(), ElementsAre(WatchedFolder{key, "/home/me/Music", m_alias, true, 0, 0}));
    EXPECT_EQ(number("SELECT Z_ENT FROM ZHISTORY"), number("SELECT Z_ENT FROM Z_PRIMARYKEY WHERE Z_NAME = 'History'"));
    EXPECT_EQ(number("SELECT Z_OPT FROM ZHISTORY"), 1);
}

TEST_F(HistoryDatabaseTest, addFolder_withoutAlias_keepsNull)
{
    static_cast<void>(*m_database->addFolder("/a", {}));

    EXPECT_EQ(number("SELECT ZFOLDERALIAS IS NULL FROM ZHISTORY"), 1);
    EXPECT_THAT(folders().front().alias, IsEmpty());
}

TEST_F(HistoryDatabaseTest, folders_aliasLongerThanAny_countsAsNone)
{
    ASSERT_TRUE(m_database->addFolder("/sound", Bytes(65536, 1)));
    ASSERT_TRUE(m_database->addFolder("/odd", Bytes(65537, 1)));
    const auto folders = m_database->folders();
    ASSERT_TRUE(folders);
    ASSERT_EQ(folders->size(), 2u);
    EXPECT_EQ(folders->front().alias.size(), 65536u);
    EXPECT_EQ(folders->back().folder, "/odd");
    EXPECT_TRUE(folders->back().alias.empty());
}

TEST_F(HistoryDatabaseTest, addFolder_twice_isOneRecord)
{
    const qint64 first = *m_database->addFolder("/a", m_alias);
    const qint64 second = *m_database->addFolder("/a", bytesOf("newer alias"));

    EXPECT_EQ(first, second);
    EXPECT_THAT(folders(), ElementsAre(WatchedFolder{first, "/a", bytesOf("newer alias"), true, 0, 0}));
}

TEST_F(HistoryDatabaseTest, addFolder_nested_areTwoRecords)
{
    static_cast<void>(*m_database->addFolder("/a", m_alias));
    static_cast<void>(*m_database->addFolder("/a/b", m_alias));

    EXPECT_EQ(folders().size(), 2U);
}

TEST_F(HistoryDatabaseTest, addFolder_removedBefore_isWatchedAgainWithItsSavings)
{
    const qint64 key = *m_database->addFolder("/a", m_alias);
    ASSERT_TRUE(m_database->setProgress(key, 100, 5'000'000'000));
    ASSERT_TRUE(*m_database->removeFolders({key}));
    ASSERT_FALSE(folders().front().isEnabled);

    EXPECT_EQ(*m_database->addFolder("/a", m_alias), key);
    EXPECT_THAT(folders(), ElementsAre(WatchedFolder{key, "/a", m_alias, true, 100, 5'000'000'000}));
}

TEST_F(HistoryDatabaseTest, addFolder_emptyAndQuotedNames_staySeparate)
{
    for (const std::string name : {"/a'b", "/a\"b", "/a;DROP TABLE ZHISTORY", "/A'B", "/a%"})
        ASSERT_TRUE(m_database->addFolder(name, m_alias));

    EXPECT_EQ(folders().size(), 5U);
}

TEST_F(HistoryDatabaseTest, addFolder_nameIsNotUtf8_survives)
{
    const std::string name = "/music/\xff\xfe caf\xe9";
    const qint64 key = *m_database->addFolder(name, m_alias);
    reopen();

    EXPECT_EQ(folders().front().folder, name);
    EXPECT_EQ(*m_database->addFolder(name, m_alias), key) << "the same bytes are the same folder";
    EXPECT_TRUE(*m_database->removeFolders({key}));
    EXPECT_EQ(number("SELECT typeof(ZFOLDER) = 'text' FROM ZHISTORY"), 1);
}

TEST_F(HistoryDatabaseTest, addFolder_highestRecordIsGone_getsANewKey)
{
    static_cast<void>(*m_database->addFolder("/a", m_alias));
    const qint64 gone = *m_database->addFolder("/b", m_alias);
    const auto connection = *SqliteConnection::open(m_store, SqliteConnection::Mode::ReadWrite, 1000);
    ASSERT_TRUE(connection->run("DELETE FROM ZHISTORY WHERE Z_PK = 2"));

    const qint64 key = *m_database->addFolder("/c", m_alias);

    EXPECT_GT(key, gone);
    EXPECT_EQ(number("SELECT Z_MAX FROM Z_PRIMARYKEY WHERE Z_NAME = 'History'"), key);
}

TEST_F(HistoryDatabaseTest, addFolder_highestKeyWasNotCounted_doesNotReuseIt)
{
    static_cast<void>(*m_database->addFolder("/a", m_alias));
    const auto connection = *SqliteConnection::open(m_store, SqliteConnection::Mode::ReadWrite, 1000);
    ASSERT_TRUE(connection->run("UPDATE Z_PRIMARYKEY SET Z_MAX = NULL"));
    ASSERT_TRUE(connection->run("UPDATE ZHISTORY SET Z_PK = 41"));

    EXPECT_EQ(*m_database->addFolder("/b", m_alias), 42);
}

TEST_F(HistoryDatabaseTest, removeFolders_keepsRecordAndSavings)
{
    const qint64 key = *m_database->addFolder("/a", m_alias);
    ASSERT_TRUE(m_database->setProgress(key, 40, 7));

    const qint64 other = *m_database->addFolder("/b", m_alias);
    EXPECT_TRUE(*m_database->removeFolders({key}));
    EXPECT_FALSE(*m_database->removeFolders({key})) << "it is not watched any more";
    EXPECT_FALSE(*m_database->removeFolders({99}));
    EXPECT_THAT(folders(), ElementsAre(WatchedFolder{key, "/a", m_alias, false, 40, 7},
                                       WatchedFolder{other, "/b", m_alias, true, 0, 0}));
}

TEST_F(HistoryDatabaseTest, removeFolders_several_oneThatIsNotThereIsNoHindrance)
{
    const qint64 first = *m_database->addFolder("/a", m_alias);
    const qint64 second = *m_database->addFolder("/b", m_alias);

    EXPECT_TRUE(*m_database->removeFolders({first, 99, second, first}));
    EXPECT_FALSE(*m_database->removeFolders({}));
    EXPECT_THAT(folders(), ElementsAre(WatchedFolder{first, "/a", m_alias, false, 0, 0},
                                       WatchedFolder{second, "/b", m_alias, false, 0, 0}));
}

TEST_F(HistoryDatabaseTest, setProgress_beyondTheSignedRange_survives)
{
    const qint64 key = *m_database->addFolder("/a", m_alias);
    for (const ByteCount savings :
         {ByteCount(0), ByteCount(1) << 32, (ByteCount(1) << 63) - 1, ByteCount(1) << 63, ~ByteCount(0)}) {
        ASSERT_TRUE(m_database->setProgress(key, 50, savings));
        reopen();
        EXPECT_EQ(folders().front().savings, savings);
        EXPECT_EQ(number("SELECT typeof(ZSAVINGS) = 'integer' FROM ZHISTORY"), 1);
    }
}

TEST_F(HistoryDatabaseTest, setProgress_nothingNew_isNoSave)
{
    const qint64 key = *m_database->addFolder("/a", m_alias);
    ASSERT_TRUE(m_database->setProgress(key, 50, 7));
    const qint64 saves = number("SELECT Z_OPT FROM ZHISTORY");

    ASSERT_TRUE(m_database->setProgress(key, 50, 7));
    EXPECT_EQ(number("SELECT Z_OPT FROM ZHISTORY"), saves);
    ASSERT_TRUE(m_database->setProgress(key, 51, 7));
    EXPECT_EQ(number("SELECT Z_OPT FROM ZHISTORY"), saves + 1);
}

TEST_F(HistoryDatabaseTest, setProgress_recordIsGone_doesNothing)
{
    ASSERT_TRUE(m_database->setProgress(99, 50, 7));
    EXPECT_THAT(folders(), IsEmpty());
}

TEST_F(HistoryDatabaseTest, setLocations_keepTheRest)
{
    const qint64 key = *m_database->addFolder("/a", m_alias);
    ASSERT_TRUE(m_database->setProgress(key, 50, 7));
    ASSERT_TRUE(m_database->setLocations({{key, "/moved", bytesOf("other")}}));

    EXPECT_THAT(folders(), ElementsAre(WatchedFolder{key, "/moved", bytesOf("other"), true, 50, 7}));
}

TEST_F(HistoryDatabaseTest, setRefusals_replacesThoseBeforeAndTellsWhetherTheyAreOthers)
{
    using Reason = FolderRefusal::Reason;
    const auto refusals = [this] {
        const auto connection = SqliteConnection::open(m_store, SqliteConnection::Mode::ReadOnly, 1000);
        return *HistoryQuery::refusals(**connection);
    };
    EXPECT_THAT(refusals(), IsEmpty()) << "no table yet";
    EXPECT_FALSE(*m_database->setRefusals({}));
    const std::vector<FolderRefusal> two{{"/", Reason::WholeDisk}, {"/not\xff utf-8", Reason::Unreadable}};
    EXPECT_TRUE(*m_database->setRefusals(two));
    EXPECT_EQ(refusals(), two);
    EXPECT_FALSE(*m_database->setRefusals(two));
    EXPECT_TRUE(*m_database->setRefusals({{"/usr", Reason::System}}));
    EXPECT_THAT(refusals(), ElementsAre(FolderRefusal{"/usr", Reason::System}));
    EXPECT_TRUE(*m_database->setRefusals({}));
    EXPECT_THAT(refusals(), IsEmpty());
}

TEST_F(HistoryDatabaseTest, open_againAfterClosing_findsEverything)
{
    static_cast<void>(*m_database->addFolder("/a", m_alias));
    static_cast<void>(*m_database->addFolder("/b", m_alias));
    const std::vector<WatchedFolder> before = folders();
    reopen();

    EXPECT_EQ(folders(), before);
}

TEST_F(HistoryDatabaseTest, change_ofAnotherProcess_isSeen)
{
    m_database.reset();
    WriterProcess writer(m_store);
    ASSERT_EQ(writer.opening(), "open");
    m_database = HistoryFixture::openDatabase(m_store);

    ASSERT_EQ(writer.run("add /from afar"), "1");
    EXPECT_EQ(folders().front().folder, "/from afar");
}

} // namespace
