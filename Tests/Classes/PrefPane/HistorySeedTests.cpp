#include "Classes/PrefPane/HistorySeed.h"

#include "Platform/Fake/FakeFileSystem.h"
#include "Platform/ThisProcess.h"
#include "Tests/Support/FileContent.h"
#include "Tests/Support/HistoryFixture.h"
#include "Tests/Support/PrivateHome.h"

#include <thread>

#include <gmock/gmock.h>

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::SizeIs;

namespace {

class HistorySeedTest : public ::testing::Test
{
protected:
    std::vector<std::string> names() const
    {
        std::vector<std::string> names;
        for (const auto &entry : fs::directory_iterator(m_folder))
            names.push_back(entry.path().filename());
        std::sort(names.begin(), names.end());
        return names;
    }

    const Path m_folder = PrivateHome::current().makeFolder("support");
    const Path m_store = m_folder / "history.db";
    const Path m_seed = HistoryFixture::seed();
};

TEST_F(HistorySeedTest, makeStore_none_copiesTheSeedForTheUserAlone)
{
    ASSERT_TRUE(HistorySeed::makeStore(m_store, m_seed));

    EXPECT_EQ(contentOf(m_store), contentOf(m_seed));
    EXPECT_EQ(fs::status(m_store).permissions(), fs::perms(0600));
    EXPECT_THAT(names(), ElementsAre("history.db", "history.db.lock"));
}

TEST_F(HistorySeedTest, makeStore_thereIsOne_leavesItAndItsJournal)
{
    writeFile(m_store, "mine");
    writeFile(m_folder / "history.db-wal", "changes");

    ASSERT_TRUE(HistorySeed::makeStore(m_store, m_seed));

    EXPECT_EQ(contentOf(m_store), "mine");
    EXPECT_EQ(contentOf(m_folder / "history.db-wal"), "changes");
}

TEST_F(HistorySeedTest, makeStore_strayCompanions_areSetAsideFirst)
{
    for (const char *companion : {"-wal", "-shm", "-journal"})
        writeFile(m_store.native() + companion, companion);

    ASSERT_TRUE(HistorySeed::makeStore(m_store, m_seed));

    const std::vector<std::string> after = names();
    ASSERT_THAT(after, SizeIs(5));
    EXPECT_EQ(contentOf(m_folder / after[0]), "-journal");
    EXPECT_EQ(contentOf(m_folder / after[1]), "-shm");
    EXPECT_EQ(contentOf(m_folder / after[2]), "-wal");
    EXPECT_EQ(after[0].find("history-set-aside-2"), 0U);
}

TEST_F(HistorySeedTest, makeStore_noSeed_isNotFoundAndMovesNothing)
{
    writeFile(m_folder / "history.db-wal", "changes");

    const Result<void> made = HistorySeed::makeStore(m_store, m_folder / "none");

    ASSERT_FALSE(made);
    EXPECT_EQ(made.failure().code, ErrorCode::NotFound);
    EXPECT_THAT(names(), ElementsAre("history.db-wal", "history.db.lock"));
}

TEST_F(HistorySeedTest, makeStore_linkInItsPlace_isNotFollowed)
{
    fs::create_symlink(m_folder / "elsewhere", m_store);

    ASSERT_TRUE(HistorySeed::makeStore(m_store, m_seed));

    EXPECT_TRUE(fs::is_symlink(m_store));
    EXPECT_FALSE(fs::exists(m_folder / "elsewhere"));
}

TEST_F(HistorySeedTest, makeStore_manyAtOnce_allFindOneWholeStore)
{
    writeFile(m_folder / "history.db-wal", "stray");
    std::atomic<int> done = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 8; ++thread)
        threads.emplace_back([&] { done += HistorySeed::makeStore(m_store, m_seed) ? 1 : 0; });
    for (std::thread &thread : threads)
        thread.join();

    EXPECT_EQ(done, 8);
    EXPECT_EQ(contentOf(m_store), contentOf(m_seed));
    EXPECT_THAT(names(), SizeIs(3)) << "the stray one, the store and its lock";
}

TEST_F(HistorySeedTest, makeStore_otherProcessIsMakingIt_isBusyAndMovesNothing)
{
    writeFile(m_folder / "history.db-wal", "fresh");
    const auto lock = ThisProcess::current().lockFile(m_store.native() + ".lock");
    ASSERT_TRUE(lock);

    const Result<void> made = HistorySeed::makeStore(m_store, m_seed);

    ASSERT_FALSE(made);
    EXPECT_EQ(made.failure().code, ErrorCode::Busy);
    EXPECT_TRUE(fs::exists(m_folder / "history.db-wal"));
}

TEST_F(HistorySeedTest, makeStore_lockHolderHangsAndNothingIsToBeSetAside_isMadeAllTheSame)
{
    const auto lock = ThisProcess::current().lockFile(m_store.native() + ".lock");
    ASSERT_TRUE(lock);

    ASSERT_TRUE(HistorySeed::makeStore(m_store, m_seed));

    EXPECT_EQ(contentOf(m_store), contentOf(m_seed));
    EXPECT_THAT(names(), ElementsAre("history.db", "history.db.lock"));
}

TEST_F(HistorySeedTest, makeStore_lockHolderMakesItMeanwhile_isTakenWithItsFreshJournal)
{
    const auto lock = ThisProcess::current().lockFile(m_store.native() + ".lock");
    ASSERT_TRUE(lock);
    std::thread holder([&] {
        writeFile(m_store, "the holder's");
        writeFile(m_folder / "history.db-wal", "fresh");
    });
    const Result<void> made = HistorySeed::makeStore(m_store, m_seed);
    holder.join();

    EXPECT_TRUE(made) << made.failure().context;
    EXPECT_EQ(contentOf(m_store), "the holder's");
    EXPECT_EQ(contentOf(m_folder / "history.db-wal"), "fresh");
}

TEST_F(HistorySeedTest, makeStore_homeThatIsNoUtf8_isLockedAsAnyOther)
{
    const Path store = PrivateHome::current().makeFolder("odd\xFF\xFE") / "history.db";
    auto lock = ThisProcess::current().lockFile(store.native() + ".lock");
    ASSERT_TRUE(lock);
    writeFile(store.native() + "-wal", "stray");
    EXPECT_EQ(HistorySeed::makeStore(store, m_seed).failure().code, ErrorCode::Busy);
    lock->reset();
    ASSERT_TRUE(HistorySeed::makeStore(store, m_seed));
    EXPECT_EQ(contentOf(store), contentOf(m_seed));
}

TEST_F(HistorySeedTest, makeStore_linkInThePlaceOfTheLock_isNotFollowed)
{
    fs::create_symlink(m_folder / "elsewhere", m_store.native() + ".lock");

    EXPECT_EQ(HistorySeed::makeStore(m_store, m_seed).failure().code, ErrorCode::NotSupported);

    EXPECT_FALSE(fs::exists(m_folder / "elsewhere"));
    EXPECT_FALSE(fs::exists(m_store));
}

TEST_F(HistorySeedTest, replaceStore_keepsTheDamagedOneOpenableUnderItsNewName)
{
    for (const char *companion : {"", "-wal", "-shm", "-journal"})
        writeFile(m_store.native() + companion, std::string("old") + companion);

    const Result<Path> aside = HistorySeed::replaceStore(m_store, m_seed);

    ASSERT_TRUE(aside) << aside.failure().context;
    EXPECT_EQ(contentOf(m_store), contentOf(m_seed));
    for (const char *companion : {"", "-wal", "-shm", "-journal"})
        EXPECT_EQ(contentOf(aside->native() + companion), std::string("old") + companion);
    EXPECT_THAT(names(), SizeIs(6)) << "those, the store and its lock";
}

/// The same over files in memory, whose calls fail one after the other. The lock lies in a real folder of the same
/// name.
class HistorySeedFaults : public HistorySeedTest
{
protected:
    void fill(FakeFileSystem &files, bool withStore)
    {
        files.addFile(m_seed, bytesOf("seed"));
        if (withStore)
            files.addFile(m_store, bytesOf("old"));
        files.addFolder(m_folder);
        files.addFile(m_folder / "history.db-wal", bytesOf("old-wal"));
        files.addFile(m_folder / "history.db-journal", bytesOf("old-journal"));
    }

    std::multiset<std::string> contents(FakeFileSystem &files)
    {
        std::multiset<std::string> contents;
        const std::vector<std::string> all = *files.entries(m_folder);
        for (const std::string &name : all)
            contents.insert(stringOf(*files.readFile(m_folder / name, 1000)));
        return contents;
    }
};

TEST_F(HistorySeedFaults, makeStore_everyCallFailing_losesNothingAndLeavesNoHalf)
{
    for (int failing = 0;; ++failing) {
        FakeFileSystem files;
        const Override<FileSystem> override(files);
        fill(files, false);
        files.failCall(failing, ErrorCode::NoSpace);
        const bool isDone = bool(HistorySeed::makeStore(m_store, m_seed));
        files.failCall(-1, ErrorCode::Io);

        const std::multiset<std::string> left = contents(files);
        EXPECT_EQ(left.count("old-wal"), 1U) << "when call " << failing << " failed";
        EXPECT_EQ(left.count("old-journal"), 1U) << "when call " << failing << " failed";
        EXPECT_EQ(left.count("seed"), isDone ? 1U : 0U) << "when call " << failing << " failed";
        if (isDone) {
            EXPECT_GT(failing, 5);
            break;
        }
        EXPECT_TRUE(HistorySeed::makeStore(m_store, m_seed)) << "after call " << failing << " failed";
    }
}

TEST_F(HistorySeedFaults, replaceStore_everyCallFailing_losesNothing)
{
    for (int failing = 0;; ++failing) {
        FakeFileSystem files;
        const Override<FileSystem> override(files);
        fill(files, true);
        files.failCall(failing, ErrorCode::Io);
        const bool isDone = bool(HistorySeed::replaceStore(m_store, m_seed));
        files.failCall(-1, ErrorCode::Io);

        const std::multiset<std::string> left = contents(files);
        for (const char *old : {"old", "old-wal", "old-journal"})
            EXPECT_EQ(left.count(old), 1U) << old << " when call " << failing << " failed";
        if (isDone) {
            EXPECT_GT(failing, 5);
            break;
        }
    }
}

} // namespace
