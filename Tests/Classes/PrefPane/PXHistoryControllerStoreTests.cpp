// How the pane comes by its view of the history store, and what it says when it cannot.
#include "Classes/PrefPane/PXHistoryController.h"

#include "Classes/PrefPane/HistorySeed.h"
#include "Tests/Classes/PrefPane/PaneWithHistory.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/WaitFor.h"

#include <QElapsedTimer>

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

class HistoryStoreOfThePane : public PaneWithHistory
{
protected:
    const Alert m_contextError{"Failed to initialize the store", "There was an error building up the data file.", ""};
};

TEST_F(HistoryStoreOfThePane, firstRun_copiesTheSeedAndIsEmpty)
{
    installBundle();

    EXPECT_TRUE(controller()->managedObjectContext());
    EXPECT_EQ(contentOf(store()), contentOf(HistoryFixture::seed()));
    EXPECT_THAT(controller()->historyArray(), IsEmpty());
    EXPECT_EQ(controller()->totalSavings(), 0U);
    EXPECT_EQ(controller()->previousSavings(), 0U);
    EXPECT_THAT(application.errors(), IsEmpty());
    EXPECT_THAT(application.modalAlerts(), IsEmpty());
}

TEST_F(HistoryStoreOfThePane, alloc_secondTime_isNothing)
{
    installBundle();
    PXHistoryController *const first = PXHistoryController::alloc();

    ASSERT_TRUE(first);
    EXPECT_FALSE(PXHistoryController::alloc());
    EXPECT_EQ(controller(), first);
    EXPECT_EQ(controller(), first);
}

TEST_F(HistoryStoreOfThePane, reading_neverChangesTheStore)
{
    installBundle();
    {
        const auto database = HistoryFixture::openDatabase(store());
        ASSERT_TRUE(database->addFolder("/a", {}));
    }
    const std::string before = contentOf(store());

    EXPECT_THAT(controller()->historyArray(), SizeIs(1));
    announceSavings();
    EXPECT_EQ(contentOf(store()), before);
}

TEST_F(HistoryStoreOfThePane, storeCannotBeOpened_isToldOnceThenAtEachAccess)
{
    installBundle();
    writeFile(store(), "not a store");

    EXPECT_FALSE(controller()->managedObjectContext());
    const std::vector<Alert> first = application.errors();
    ASSERT_GE(first.size(), 2U);
    EXPECT_NE(first.front(), m_contextError);
    EXPECT_TRUE(
        std::all_of(first.begin() + 1, first.end(), [&](const Alert &alert) { return alert == m_contextError; }));

    EXPECT_FALSE(controller()->managedObjectContext());
    EXPECT_EQ(application.errors().size(), first.size() + 1);
    EXPECT_EQ(application.errors().back(), m_contextError);
    EXPECT_TRUE(isLogged("com.dovrane.tamsel.error 9999"));
    EXPECT_EQ(application.terminations(), 0) << "the pane stays up";
    EXPECT_EQ(contentOf(store()), "not a store");
    EXPECT_THAT(controller()->historyArray(), IsEmpty());
    EXPECT_EQ(controller()->totalSavings(), 0U);
    EXPECT_FALSE(controller()->windowWillReturnUndoManager());
}

TEST_F(HistoryStoreOfThePane, storeOfAnotherModel_cannotBeOpened)
{
    installBundle();
    writeFile(store(), "");
    {
        const auto connection = *SqliteConnection::open(store(), SqliteConnection::Mode::ReadWrite, 1000);
        ASSERT_TRUE(connection->run("CREATE TABLE ZHISTORY (Z_PK INTEGER PRIMARY KEY, ZFOLDER VARCHAR)"));
    }
    EXPECT_FALSE(controller()->managedObjectContext());
}

TEST_F(HistoryStoreOfThePane, failedStore_staysFailedWhenTheFileIsMended)
{
    installBundle();
    writeFile(store(), "not a store");
    ASSERT_FALSE(controller()->managedObjectContext());

    ASSERT_TRUE(HistorySeed::replaceStore(store(), HistoryFixture::seed()));
    announceSavings();

    EXPECT_FALSE(controller()->persistentStoreCoordinator());
    EXPECT_FALSE(controller()->managedObjectContext());
}

class NoSeed : public HistoryStoreOfThePane
{
protected:
    void expectEnd()
    {
        EXPECT_FALSE(controller()->managedObjectContext());
        EXPECT_THAT(application.modalAlerts(),
                    ElementsAre(Alert{"Database Creation Issue",
                                      "Tamsel information database could not be created. Ensure you have enough disk "
                                      "space and write permissions to this user's application support folder.\rTamsel "
                                      "will now quit.",
                                      "OK"}));
        EXPECT_EQ(application.terminations(), 1);
        EXPECT_THAT(application.errors(), IsEmpty());
        EXPECT_TRUE(isLogged("Error in Tamsel database creation: "));
    }
};

TEST_F(NoSeed, seedIsMissing_endsTheApplication)
{
    const Path bundle = PrivateHome::current().makeFolder("Tamsel.prefPane");
    fs::create_directories(bundle / "Contents/Resources");
    fs::copy_file(HistoryFixture::modelFile(), bundle / "Contents/Resources/History.model.plist");
    installBundle(bundle);

    expectEnd();
    EXPECT_FALSE(fs::exists(store()));
}

TEST_F(NoSeed, supportFolderIsNoFolder_endsTheApplication)
{
    installBundle();
    writeFile(PrivateHome::current().home() / ".local/share/Pellix", "a plain file");

    expectEnd();
}

TEST_F(HistoryStoreOfThePane, modelIsMissing_isLoggedAndThereIsNoStore)
{
    EXPECT_FALSE(controller()->managedObjectContext());
    EXPECT_TRUE(isLogged("Managed object model is nil"));
    EXPECT_TRUE(isLogged("PXHistoryController:persistentStoreCoordinator No model to generate a store from"));
    EXPECT_EQ(application.errors().back(), m_contextError);
    EXPECT_FALSE(fs::exists(store()));
}

TEST_F(HistoryStoreOfThePane, undoManager_isTheContexts)
{
    installBundle();
    ASSERT_TRUE(controller()->windowWillReturnUndoManager());
    EXPECT_EQ(controller()->windowWillReturnUndoManager(), controller()->managedObjectContext()->undoManager());
}

TEST_F(HistoryStoreOfThePane, helperWrites_isSeenWhenAnnounced)
{
    installBundle();
    ASSERT_THAT(controller()->historyArray(), IsEmpty());
    WriterProcess writer(store());
    ASSERT_EQ(writer.run("add /from afar"), "1");
    ASSERT_EQ(writer.run("progress 1 40 5000000000"), "done");
    EXPECT_EQ(controller()->totalSavings(), 0U) << "nothing was announced yet";

    announceSavings();

    EXPECT_EQ(controller()->totalSavings(), 5'000'000'000U);
    ASSERT_THAT(controller()->historyArray(), SizeIs(1));
    EXPECT_EQ(controller()->historyArray().front().status, 40U);
    ASSERT_EQ(writer.run("progress 1 100 6000000000"), "done");
    announceSavings();
    EXPECT_EQ(controller()->totalSavings(), 6'000'000'000U);
}

TEST_F(HistoryStoreOfThePane, helperIsKilled_itsCommitsAreStillRead)
{
    installBundle();
    ASSERT_TRUE(controller()->managedObjectContext());
    WriterProcess writer(store());
    ASSERT_EQ(writer.run("add /a"), "1");
    ASSERT_EQ(writer.run("progress 1 40 7"), "done");
    writer.kill();

    announceSavings();
    EXPECT_EQ(controller()->totalSavings(), 7U);
}

TEST_F(HistoryStoreOfThePane, storeIsReplaced_theNewOneIsRead)
{
    installBundle();
    {
        const auto database = HistoryFixture::openDatabase(store());
        ASSERT_TRUE(database->setProgress(*database->addFolder("/old", {}), 1, 1));
    }
    HistoryContext *const context = controller()->managedObjectContext();
    ASSERT_EQ(controller()->totalSavings(), 1U);
    const Path other = support() / "other.db";
    {
        const auto database = HistoryFixture::openDatabase(other);
        ASSERT_TRUE(database->setProgress(*database->addFolder("/new", {}), 1, 1000));
    }
    fs::rename(other, store());

    announceSavings();

    EXPECT_EQ(controller()->totalSavings(), 1000U);
    EXPECT_EQ(controller()->historyArray().front().folder, "/new");
    EXPECT_EQ(controller()->managedObjectContext(), context);
}

TEST_F(HistoryStoreOfThePane, storeIsGone_isAsWithoutRecordsUntilItIsBack)
{
    installBundle();
    {
        const auto database = HistoryFixture::openDatabase(store());
        ASSERT_TRUE(database->setProgress(*database->addFolder("/a", {}), 1, 1));
    }
    ASSERT_EQ(controller()->totalSavings(), 1U);
    fs::rename(store(), support() / "elsewhere");
    announceSavings();
    EXPECT_EQ(controller()->totalSavings(), 0U);
    EXPECT_THAT(controller()->historyArray(), IsEmpty());

    fs::rename(support() / "elsewhere", store());
    announceSavings();
    EXPECT_EQ(controller()->totalSavings(), 1U);
    EXPECT_THAT(application.errors(), IsEmpty());
}

TEST_F(HistoryStoreOfThePane, storeIsLocked_isOpenedAllTheSameAndReadLater)
{
    installBundle();
    WriterProcess writer(store());
    ASSERT_EQ(writer.run("add /a"), "1");
    ASSERT_EQ(writer.run("progress 1 40 7"), "done");
    ASSERT_EQ(writer.run("lock"), "locked");

    EXPECT_TRUE(controller()->managedObjectContext());
    EXPECT_EQ(controller()->totalSavings(), 0U);
    EXPECT_THAT(application.errors(), IsEmpty());

    ASSERT_EQ(writer.run("unlock"), "open");
    announceSavings();
    EXPECT_EQ(controller()->totalSavings(), 7U);
}

TEST_F(HistoryStoreOfThePane, storeWasLocked_isReadWithoutAnAnnouncementOnceItIsFree)
{
    installBundle();
    WriterProcess writer(store());
    ASSERT_EQ(writer.run("add /a"), "1");
    ASSERT_EQ(writer.run("progress 1 40 7"), "done");
    ASSERT_EQ(writer.run("lock"), "locked");
    EXPECT_EQ(controller()->totalSavings(), 0U) << "a failed fetch is one without records";
    EXPECT_THAT(controller()->historyArray(), IsEmpty());

    ASSERT_EQ(writer.run("unlock"), "open");
    EXPECT_TRUE(waitFor([] { return controller()->totalSavings() == 7U; }));
    EXPECT_THAT(controller()->historyArray(), SizeIs(1));
}

TEST_F(HistoryStoreOfThePane, storeIsLocked_isWaitedForOnceInARefresh)
{
    installBundle();
    WriterProcess writer(store());
    ASSERT_EQ(writer.run("lock"), "locked");
    controller();
    // The quickest of several, so that a busy machine does not count.
    auto quickest = std::chrono::milliseconds::max();
    for (int time = 0; time < 5; ++time) {
        QElapsedTimer elapsed;
        elapsed.start();
        announceSavings();
        quickest = std::min(quickest, std::chrono::milliseconds(elapsed.elapsed()));
    }
    EXPECT_GE(quickest, HistoryStore::kBusyTimeout / 2) << "it was not locked at all";
    EXPECT_LT(quickest, 3 * HistoryStore::kBusyTimeout) << "a refresh reads four times";
    EXPECT_LT(2 * HistoryStore::kBusyTimeout, std::chrono::milliseconds(100)) << "opening and reading";
}

} // namespace
