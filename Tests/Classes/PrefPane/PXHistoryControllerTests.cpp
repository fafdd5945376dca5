// What the controller makes of the records: rows, sums, and how the table shows them.
#include "Classes/PrefPane/PXHistoryController.h"

#include "Classes/PrefPane/PXDefaultsController.h"
#include "Classes/Shared/RQAlias.h"
#include "Tests/Classes/PrefPane/PaneWithHistory.h"
#include "Tests/Support/BackgroundAliases.h"
#include "Tests/Support/PrivateHome.h"

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

const HistoryEntry kOther{1, "Other", "Savings obtained from previously selected folders", 100, 0, std::nullopt};

class PXHistoryControllerTest : public PaneWithHistory
{
protected:
    PXHistoryControllerTest() { installBundle(); }

    /// Records a folder as the helper does.
    void record(const std::string &folder, ByteCount savings, bool isWatched = true, const Bytes &alias = {})
    {
        const qint64 key = *m_database->addFolder(folder, alias);
        ASSERT_TRUE(m_database->setProgress(key, 50, savings));
        if (!isWatched) {
            ASSERT_TRUE(HistoryFixture::removeFolder(*m_database, folder));
        }
    }

    void useTable()
    {
        controller()->setFoldersArrayController(&m_array);
        controller()->setFoldersTableView(&m_table);
        controller()->awakeFromNib();
    }

    HistoryCell cellOf(int row) const
    {
        HistoryCell cell;
        controller()->tableViewWillDisplayCell(cell, 0, row);
        return cell;
    }

    BackgroundAliases m_aliases;
    Override<AliasManager> m_override{m_aliases};
    const Path m_work = PrivateHome::current().makeFolder("work");
    std::unique_ptr<HistoryDatabase> m_database = HistoryFixture::openDatabase(store());
    FoldersArrayController m_array;
    DVTableView m_table;
};

TEST_F(PXHistoryControllerTest, noRemovedFolders_thereIsNoOtherRow)
{
    record("/a", 10);
    record("/b", 20);

    EXPECT_EQ(controller()->previousSavings(), 0U);
    EXPECT_THAT(controller()->historyArray(),
                ElementsAre(HistoryEntry{0, "/a", "/a", 50, 10, true}, HistoryEntry{0, "/b", "/b", 50, 20, true}));
    for (int row = 0; row < 2; ++row) {
        EXPECT_TRUE(cellOf(row).isEnabled);
        EXPECT_TRUE(controller()->tableViewShouldSelectRow(row));
    }
}

TEST_F(PXHistoryControllerTest, removedFolderWithoutSavings_makesNoOtherRow)
{
    record("/a", 10);
    record("/b", 0, false);

    EXPECT_THAT(controller()->historyArray(), SizeIs(1));
    EXPECT_TRUE(controller()->tableViewShouldSelectRow(0));
}

TEST_F(PXHistoryControllerTest, removedFolders_areSummedInTheLastRow)
{
    record("/a", 10);
    record("/b", 20, false);
    record("/c", 30, false);

    HistoryEntry other = kOther;
    other.savings = 50;
    ASSERT_THAT(controller()->historyArray(), SizeIs(2));
    EXPECT_EQ(controller()->historyArray().back(), other);
    EXPECT_EQ(controller()->previousSavings(), 50U);
    EXPECT_EQ(controller()->totalSavings(), 60U);
    EXPECT_TRUE(cellOf(0).isEnabled);
    EXPECT_FALSE(cellOf(1).isEnabled);
    EXPECT_TRUE(controller()->tableViewShouldSelectRow(0));
    EXPECT_FALSE(controller()->tableViewShouldSelectRow(1));
}

TEST_F(PXHistoryControllerTest, onlyRemovedFolders_showTheOtherRowAlone)
{
    record("/a", 10, false);

    EXPECT_THAT(controller()->historyArray(), SizeIs(1));
    EXPECT_FALSE(controller()->tableViewShouldSelectRow(0));
}

TEST_F(PXHistoryControllerTest, sums_areExactWith64Bits)
{
    record("/a", 0xffff'ffff'ffff'fff0);
    record("/b", 0x1'0000'0000, false);
    record("/c", 0x1'0000'0007, false);

    EXPECT_EQ(controller()->previousSavings(), 0x2'0000'0007U);
    EXPECT_EQ(controller()->totalSavings(), 0x1'ffff'fff7U) << "around at 2^64";
    EXPECT_EQ(controller()->historyArray().front().savings, 0xffff'ffff'ffff'fff0U);
}

TEST_F(PXHistoryControllerTest, savingsChanged_announcesSumThenList)
{
    std::vector<std::string> announced;
    QObject::connect(controller(), &PXHistoryController::totalSavingsChanged, [&] { announced.push_back("total"); });
    QObject::connect(controller(), &PXHistoryController::historyArrayChanged, [&] { announced.push_back("list"); });

    announceSavings();
    EXPECT_THAT(announced, ElementsAre("total", "list"));
}

TEST_F(PXHistoryControllerTest, foldersChanged_readsTheListAgain)
{
    ASSERT_THAT(controller()->historyArray(), IsEmpty());
    record("/a", 10);

    Q_EMIT controller()->foldersChanged();
    EXPECT_THAT(controller()->historyArray(), SizeIs(1));
    EXPECT_EQ(controller()->totalSavings(), 0U) << "only the list was asked for";
}

TEST_F(PXHistoryControllerTest, cellState_isWhetherTheHelperIsOn)
{
    record("/a", 10);
    PXDefaultsController::sharedDefaultsController()->setHelperActive(true);
    EXPECT_TRUE(cellOf(0).state);
    PXDefaultsController::sharedDefaultsController()->setHelperActive(false);
    EXPECT_FALSE(cellOf(0).state);
}

TEST_F(PXHistoryControllerTest, entry_movedFolder_isShownAtItsNewPlace)
{
    fs::create_directory(m_work / "before");
    const RQAlias alias = *RQAlias::aliasWithPath(m_work / "before");
    fs::rename(m_work / "before", m_work / "after");
    const HistoryRecord found{1, m_work / "before", *alias.aliasData(), true, 5, 6};

    const HistoryEntry entry = *controller()->historyEntryFor(&found);
    EXPECT_EQ(entry, (HistoryEntry{0, m_work / "after", m_work / "after", 5, 6, true}));
}

TEST_F(PXHistoryControllerTest, entry_missingFolder_isShownAsRecorded)
{
    fs::create_directory(m_work / "gone");
    const RQAlias alias = *RQAlias::aliasWithPath(m_work / "gone");
    fs::remove(m_work / "gone");
    const HistoryRecord lost{1, m_work / "gone", *alias.aliasData(), true, 5, 6};

    EXPECT_EQ(controller()->historyEntryFor(&lost)->folder, (m_work / "gone").native());
}

TEST_F(PXHistoryControllerTest, entry_aliasOfAFile_isShownAsRecorded)
{
    writeFile(m_work / "file", "content");
    const RQAlias alias = *RQAlias::aliasWithPath(m_work / "file");
    const HistoryRecord odd{1, "/recorded", *alias.aliasData(), true, 5, 6};

    EXPECT_EQ(controller()->historyEntryFor(&odd)->folder, "/recorded");
}

TEST_F(PXHistoryControllerTest, entry_damagedAlias_isShownAsRecorded)
{
    const HistoryRecord odd{1, "/recorded", bytesOf("no alias"), true, 5, 6};
    EXPECT_EQ(controller()->historyEntryFor(&odd)->folder, "/recorded");
}

TEST_F(PXHistoryControllerTest, entry_pathThroughALink_isCanonical)
{
    fs::create_directory(m_work / "real");
    fs::create_directory_symlink(m_work / "real", m_work / "link");
    const HistoryRecord linked{1, m_work / "link", {}, true, 5, 6};

    EXPECT_EQ(controller()->historyEntryFor(&linked)->path, (m_work / "real").native());
}

TEST_F(PXHistoryControllerTest, entry_noRecord_isNothing)
{
    EXPECT_FALSE(controller()->historyEntryFor(nullptr));
}

TEST_F(PXHistoryControllerTest, folders_noHistory_isNothing)
{
    EXPECT_FALSE(controller()->folders());
    EXPECT_THAT(controller()->folderAliases(), IsEmpty());
}

TEST_F(PXHistoryControllerTest, folders_areThoseOfAllAliasesWatchedOrNot)
{
    for (const char *name : {"kept", "removed", "gone"}) {
        fs::create_directory(m_work / name);
        const RQAlias alias = *RQAlias::aliasWithPath(m_work / name);
        record(m_work / name, 1, std::string(name) != "removed", *alias.aliasData());
    }
    record("/without an alias", 1);
    fs::remove(m_work / "gone");
    fs::rename(m_work / "kept", m_work / "moved");

    EXPECT_THAT(controller()->folderAliases(), SizeIs(3));
    EXPECT_THAT(*controller()->folders(), ElementsAre(m_work / "moved", m_work / "removed", m_work / "gone"));
}

TEST_F(PXHistoryControllerTest, selection_sameNumberOfRows_survivesARefresh)
{
    record("/a", 10);
    record("/b", 20);
    record("/c", 30, false);
    useTable();
    m_array.setSelectionIndexes({1});

    ASSERT_TRUE(m_database->setProgress(1, 60, 40));
    announceSavings();

    EXPECT_THAT(m_array.selectionIndexes(), ElementsAre(1));
    EXPECT_EQ(m_array.selectedObjects().front().folder, "/b");
    EXPECT_EQ(m_array.arrangedObjects().front().savings, 40U);
}

TEST_F(PXHistoryControllerTest, selection_lostWhileTheRowsAreRenewed_isRestoredByItsPlaces)
{
    record("/a", 10);
    record("/b", 20);
    record("/c", 30);
    useTable();
    m_table.sortByColumn(FoldersArrayController::SavingsColumn, Qt::DescendingOrder);
    const auto loseSelection = [&] { m_array.selectionModel()->clear(); };
    QObject::connect(controller(), &PXHistoryController::historyArrayChanged, &m_array, loseSelection);
    m_array.setSelectionIndexes({0, 2});

    ASSERT_TRUE(m_database->setProgress(1, 60, 40)); // now the first
    announceSavings();
    ASSERT_THAT(m_array.selectionIndexes(), ElementsAre(0, 2));
    EXPECT_EQ(m_array.selectedObjects().front().folder, "/a");
    EXPECT_TRUE(m_table.selectionModel()->isRowSelected(2));
    EXPECT_FALSE(m_table.selectionModel()->isRowSelected(1));

    record("/d", 5);
    announceSavings();
    EXPECT_THAT(m_array.selectionIndexes(), IsEmpty()) << "there is another number of rows";
}

TEST_F(PXHistoryControllerTest, selection_rowAppearsOrGoes_isNotRestored)
{
    record("/a", 10);
    record("/b", 20);
    useTable();
    m_array.setSelectionIndexes({1});
    record("/c", 30);
    announceSavings();
    EXPECT_THAT(m_array.selectionIndexes(), IsEmpty());

    m_array.setSelectionIndexes({0, 2});
    ASSERT_TRUE(*m_database->addFolder("/d", {}));
    ASSERT_TRUE(HistoryFixture::removeFolder(*m_database, "/a"));
    ASSERT_TRUE(HistoryFixture::removeFolder(*m_database, "/b"));
    ASSERT_TRUE(HistoryFixture::removeFolder(*m_database, "/c"));
    announceSavings();
    EXPECT_THAT(m_array.selectionIndexes(), IsEmpty());
}

TEST_F(PXHistoryControllerTest, selection_lastRowBecomesOther_leavesItOut)
{
    record("/a", 10);
    record("/b", 20);
    useTable();
    m_array.setSelectionIndexes({0, 1});

    ASSERT_TRUE(HistoryFixture::removeFolder(*m_database, "/b"));
    announceSavings();

    EXPECT_THAT(m_array.arrangedObjects(), SizeIs(2));
    EXPECT_THAT(m_array.selectionIndexes(), ElementsAre(0));
}

TEST_F(PXHistoryControllerTest, awakeFromNib_givesTheTableFourOrders)
{
    useTable();

    ASSERT_THAT(m_array.sortDescriptors(), SizeIs(4));
    std::vector<std::string> keys;
    for (const PXSortDescriptor &descriptor : m_array.sortDescriptors()) {
        keys.push_back(descriptor.key());
        EXPECT_TRUE(descriptor.isAscending());
    }
    EXPECT_THAT(keys, ElementsAre("folder", "path", "status", "savings"));
    EXPECT_EQ(m_array.sortDescriptors()[0].selector(), SortDescriptor::Selector::LastPathComponentCompare);
    EXPECT_EQ(m_array.sortDescriptors()[1].selector(), SortDescriptor::Selector::CaseInsensitiveCompare);
    EXPECT_EQ(m_array.sortDescriptors()[2].selector(), SortDescriptor::Selector::Compare);
}

TEST_F(PXHistoryControllerTest, table_showsTheRowsAndKeepsOtherLastInEveryOrder)
{
    record("/b/Apple", 10);
    record("/a/zebra", 30);
    record("/c", 20, false);
    useTable();

    const auto names = [&] {
        std::vector<std::string> shown;
        for (int row = 0; row < m_table.model()->rowCount(); ++row)
            shown.push_back(m_table.model()->index(row, 0).data().toString().toStdString());
        return shown;
    };
    EXPECT_THAT(names(), ElementsAre("/b/Apple", "/a/zebra", "Other"));
    m_table.sortByColumn(0, Qt::DescendingOrder);
    EXPECT_THAT(names(), ElementsAre("/a/zebra", "/b/Apple", "Other"));
    m_table.sortByColumn(3, Qt::DescendingOrder);
    EXPECT_THAT(names(), ElementsAre("/a/zebra", "/b/Apple", "Other"));
    m_table.sortByColumn(3, Qt::AscendingOrder);
    EXPECT_THAT(names(), ElementsAre("/b/Apple", "/a/zebra", "Other"));
    for (int column = 0; column < 4; ++column) {
        for (const Qt::SortOrder order : {Qt::AscendingOrder, Qt::DescendingOrder}) {
            m_table.sortByColumn(column, order);
            EXPECT_EQ(names().back(), "Other") << "column " << column << ", order " << order;
        }
    }
    EXPECT_EQ(m_table.model()->flags(m_table.model()->index(2, 0)) & (Qt::ItemIsEnabled | Qt::ItemIsSelectable), 0);
}

TEST_F(PXHistoryControllerTest, table_selectAll_leavesOtherOut)
{
    record("/a", 10);
    record("/b", 20, false);
    useTable();
    m_table.selectAll();

    EXPECT_THAT(m_array.selectionIndexes(), ElementsAre(0));
}

TEST_F(PXHistoryControllerTest, interfaceGoesAway_refreshingGoesOn)
{
    record("/a", 10);
    {
        FoldersArrayController array;
        DVTableView table;
        controller()->setFoldersArrayController(&array);
        controller()->setFoldersTableView(&table);
    }
    record("/b", 20);
    announceSavings();
    EXPECT_EQ(controller()->totalSavings(), 30U);
}

} // namespace
