// The store with each system call failing by which anything on the disk is changed, those of SQLite itself included.
#include "Helper/HistoryDatabase.h"
#include "Tests/Platform/Linux/FailingCalls.h"
#include "Tests/Support/HistoryFixture.h"
#include "Tests/Support/PrivateHome.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <cstring>
#include <functional>

namespace fs = std::filesystem;

namespace {

class HistoryDatabaseCalls : public ::testing::TestWithParam<int>
{
protected:
    using Records = std::vector<std::string>;

    Result<std::unique_ptr<HistoryDatabase>> open() const
    {
        return HistoryDatabase::open(m_store, HistoryFixture::seed(), HistoryFixture::model());
    }

    /// A store with one record, as a helper leaves it.
    void makeStore()
    {
        fs::remove_all(m_folder);
        fs::create_directory(m_folder);
        const auto database = *open();
        ASSERT_TRUE(database->addFolder("/old", bytesOf("alias")));
        ASSERT_TRUE(database->setProgress(1, 50, 1000));
    }

    static Records textsOf(HistoryDatabase &database)
    {
        Records texts;
        const auto folders = database.folders();
        for (const WatchedFolder &record : folders.valueOr({}))
            texts.push_back(record.folder + (record.isEnabled ? " on " : " off ") + std::to_string(record.status) +
                            ' ' + std::to_string(record.savings));
        return texts;
    }

    /// What is in the store, opened anew with nothing failing; it must be whole and where it was.
    Records recordsAfterwards() const
    {
        const auto database = open();
        EXPECT_TRUE(database) << database.failure().context;
        for (const auto &entry : fs::directory_iterator(m_folder))
            EXPECT_EQ(entry.path().native().find("set-aside"), std::string::npos) << entry.path();
        return database ? textsOf(**database) : Records();
    }

    /// Lets each call of `change` fail in turn: afterwards the store holds `fresh` when it was answered, else that or
    /// what it held before.
    void expectWhole(const std::function<bool(HistoryDatabase &)> &change, const Records &fresh)
    {
        for (int failing = 0;; ++failing) {
            SCOPED_TRACE("call " + std::to_string(failing) + " fails");
            ASSERT_NO_FATAL_FAILURE(makeStore());
            bool isDone = false;
            int calls = 0;
            {
                const auto database = *open();
                FailingCalls::fail(failing, GetParam());
                isDone = change(*database);
                calls = FailingCalls::stop();
            }
            const Records found = recordsAfterwards();
            ASSERT_TRUE(found == fresh || (!isDone && found == m_old)) << ::testing::PrintToString(found);
            if (failing >= calls) {
                EXPECT_TRUE(isDone);
                EXPECT_GE(calls, 2) << "nothing was made to fail";
                return;
            }
        }
    }

    const Records m_old{"/old on 50 1000"};
    const Path m_folder = PrivateHome::current().root() / "support";
    const Path m_store = m_folder / "history.db";
};

} // namespace

TEST_P(HistoryDatabaseCalls, addFolder_theOldRecordsStand)
{
    expectWhole([](HistoryDatabase &database) { return bool(database.addFolder("/new", bytesOf("another"))); },
                {"/old on 50 1000", "/new on 0 0"});
}

TEST_P(HistoryDatabaseCalls, removeFolders_theOldRecordsStand)
{
    expectWhole([](HistoryDatabase &database) { return bool(database.removeFolders({1})); }, {"/old off 50 1000"});
}

TEST_P(HistoryDatabaseCalls, setLocations_theOldRecordsStand)
{
    expectWhole(
        [](HistoryDatabase &database) {
            return bool(database.setLocations({{1, "/moved", bytesOf("moved")}}));
        },
        {"/moved on 50 1000"});
}

TEST_P(HistoryDatabaseCalls, setProgress_theOldRecordsStand)
{
    expectWhole([](HistoryDatabase &database) { return bool(database.setProgress(1, 100, 2000)); },
                {"/old on 100 2000"});
}

TEST_P(HistoryDatabaseCalls, open_theRecordsStandAndNothingIsSetAside)
{
    for (int failing = 0;; ++failing) {
        SCOPED_TRACE("call " + std::to_string(failing) + " fails");
        ASSERT_NO_FATAL_FAILURE(makeStore());
        FailingCalls::fail(failing, GetParam());
        const bool isDone = bool(open());
        const int calls = FailingCalls::stop();
        ASSERT_EQ(recordsAfterwards(), m_old);
        if (failing >= calls) {
            EXPECT_TRUE(isDone);
            EXPECT_GE(calls, 2) << "nothing was made to fail";
            return;
        }
    }
}

TEST_P(HistoryDatabaseCalls, openWithoutAStore_makesNoneOrAWholeOne)
{
    for (int failing = 0;; ++failing) {
        SCOPED_TRACE("call " + std::to_string(failing) + " fails");
        fs::remove_all(m_folder);
        fs::create_directory(m_folder);
        FailingCalls::fail(failing, GetParam());
        const bool isDone = bool(open());
        const int calls = FailingCalls::stop();
        ASSERT_EQ(recordsAfterwards(), Records());
        if (failing >= calls) {
            EXPECT_TRUE(isDone);
            EXPECT_GE(calls, 5) << "nothing was made to fail";
            return;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(, HistoryDatabaseCalls, ::testing::Values(ENOSPC, EACCES, EIO, EDQUOT),
                         [](const auto &each) { return std::string(::strerrorname_np(each.param)); });
