#include "Classes/PrefPane/FoldersArrayController.h"

#include "Tests/Support/FileContent.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/WaitFor.h"

#include <QAbstractItemModelTester>
#include <QHeaderView>
#include <QTableView>
#include <QTest>

#include <gmock/gmock.h>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

HistoryEntry folder(const std::string &path, std::uint32_t status, ByteCount savings)
{
    return {0, path, path, status, savings, true};
}

const HistoryEntry kOther{1, "Other", "Savings obtained from previously selected folders", 100, 5, std::nullopt};

/// Greys the last row.
class LastRowIsOther final : public FoldersTableRules
{
public:
    explicit LastRowIsOther(const FoldersArrayController &array)
        : m_array(array)
    {
    }

    void tableViewWillDisplayCell(HistoryCell &cell, int, int row) const override
    {
        cell.isEnabled = tableViewShouldSelectRow(row);
        cell.state = true;
    }
    bool tableViewShouldSelectRow(int row) const override { return row + 1 < m_array.rowCount(); }

private:
    const FoldersArrayController &m_array;
};

class FoldersArrayControllerTest : public ::testing::Test
{
protected:
    std::vector<std::string> names() const
    {
        std::vector<std::string> names;
        for (const HistoryEntry &entry : m_array.arrangedObjects())
            names.push_back(entry.folder);
        return names;
    }

    FoldersArrayController m_array;
    QAbstractItemModelTester m_tester{&m_array, QAbstractItemModelTester::FailureReportingMode::Fatal};
};

TEST_F(FoldersArrayControllerTest, content_isShownInFourColumns)
{
    m_array.setContent({folder("/home/me/Music", 40, ~ByteCount(0))});

    ASSERT_EQ(m_array.columnCount(), 4);
    const auto shown = [&](int column) { return m_array.index(0, column).data(); };
    EXPECT_EQ(shown(0).toString(), QStringLiteral("/home/me/Music"));
    EXPECT_EQ(shown(1).toString(), QStringLiteral("/home/me/Music"));
    EXPECT_EQ(shown(2).toUInt(), 40U);
    EXPECT_EQ(shown(3).toULongLong(), ~ByteCount(0));
}

TEST_F(FoldersArrayControllerTest, pathThatIsNotUtf8_isKeptInTheSelectedEntry)
{
    m_array.setContent({folder("/caf\xe9", 40, 1)});

    m_array.setSelectionIndexes({0});
    EXPECT_EQ(m_array.selectedObjects().front().folder, "/caf\xe9");
}

TEST_F(FoldersArrayControllerTest, content_changesInEveryWay_keepsTheModelSound)
{
    const std::vector<std::vector<HistoryEntry>> contents = {
        {}, {folder("/b", 1, 2)}, {folder("/a", 1, 2), folder("/b", 3, 4), kOther}, {kOther}, {folder("/c", 0, 0)}, {}};
    m_array.setSortDescriptors({PXSortDescriptor(HistoryEntry::kFolder)});
    for (const auto &content : contents) {
        m_array.setContent(content);
        EXPECT_EQ(m_array.rowCount(), static_cast<int>(content.size()));
        m_array.sort(FoldersArrayController::SavingsColumn, Qt::DescendingOrder);
        m_array.sort(FoldersArrayController::FolderColumn, Qt::AscendingOrder);
    }
}

TEST_F(FoldersArrayControllerTest, sort_earlierOrdersDecideBetweenEquals)
{
    m_array.setContent({folder("/c", 1, 7), folder("/a", 1, 7), folder("/b", 1, 9)});
    m_array.sort(FoldersArrayController::FolderColumn, Qt::AscendingOrder);
    m_array.sort(FoldersArrayController::SavingsColumn, Qt::DescendingOrder);

    EXPECT_THAT(names(), ElementsAre("/b", "/a", "/c"));
}

TEST_F(FoldersArrayControllerTest, sort_newContent_isArrangedTheSameWay)
{
    m_array.sort(FoldersArrayController::SavingsColumn, Qt::DescendingOrder);
    m_array.setContent({folder("/a", 1, 1), kOther, folder("/b", 1, ~ByteCount(0)), folder("/c", 1, 3)});

    EXPECT_THAT(names(), ElementsAre("/b", "/c", "/a", "Other"));
}

TEST_F(FoldersArrayControllerTest, sort_selectionGoesWithItsEntry)
{
    m_array.setContent({folder("/a", 1, 1), folder("/b", 1, 2), folder("/c", 1, 3)});
    m_array.setSelectionIndexes({0});
    m_array.sort(FoldersArrayController::SavingsColumn, Qt::DescendingOrder);

    EXPECT_THAT(m_array.selectionIndexes(), ElementsAre(2));
    EXPECT_EQ(m_array.selectedObjects().front().folder, "/a");
}

TEST_F(FoldersArrayControllerTest, otherRow_isNoFolderThatHasToBeLookedFor)
{
    m_array.setContent({folder("/", 1, 1), kOther});
    EXPECT_FALSE(m_array.index(0, 0).data(FoldersArrayController::MissingRole).toBool());
    EXPECT_TRUE(m_array.index(1, 0).data(FoldersArrayController::MissingRole).toBool());
}

TEST_F(FoldersArrayControllerTest, icon_isForTheKindOfFileThatIsThere)
{
    const Path file = PrivateHome::current().home() / "file.html";
    writeFile(file, "<html></html>");
    m_array.setContent({folder("/", 1, 1), folder(file, 1, 1)});
    const auto icons = [&](int row) {
        return m_array.index(row, 0).data(FoldersArrayController::IconRole).toStringList();
    };
    EXPECT_TRUE(waitFor([&] { return icons(1).value(0) == QStringLiteral("text-html"); }));
    EXPECT_TRUE(icons(0).isEmpty());
}

TEST_F(FoldersArrayControllerTest, sort_firstClickOnAHeader_ascends)
{
    m_array.setContent({folder("/b", 1, 1), folder("/a", 1, 2)});
    QTableView table;
    table.setModel(&m_array);
    table.setSortingEnabled(true);
    table.sortByColumn(FoldersArrayController::FolderColumn, Qt::AscendingOrder);
    table.show();
    QHeaderView &header = *table.horizontalHeader();
    const auto click = [&](int column) {
        QTest::mouseClick(header.viewport(), Qt::LeftButton, {},
                          {header.sectionViewportPosition(column) + 10, header.height() / 2});
    };
    click(FoldersArrayController::SavingsColumn);
    EXPECT_THAT(names(), ElementsAre("/b", "/a"));
    click(FoldersArrayController::SavingsColumn);
    EXPECT_THAT(names(), ElementsAre("/a", "/b"));
}

TEST_F(FoldersArrayControllerTest, sort_unknownColumn_changesNothing)
{
    m_array.setContent({folder("/b", 1, 1), folder("/a", 1, 2)});
    m_array.sort(-1);
    m_array.sort(9);
    EXPECT_THAT(names(), ElementsAre("/b", "/a"));
}

TEST_F(FoldersArrayControllerTest, selection_rowsThatAreNotThere_areIgnored)
{
    m_array.setContent({folder("/a", 1, 1)});
    m_array.setSelectionIndexes({-1, 0, 7, std::numeric_limits<int>::max()});
    EXPECT_THAT(m_array.selectionIndexes(), ElementsAre(0));
    m_array.setSelectionIndexes({});
    EXPECT_THAT(m_array.selectionIndexes(), IsEmpty());
}

TEST_F(FoldersArrayControllerTest, selection_inSeveralPieces_isKeptInOrder)
{
    std::vector<HistoryEntry> content;
    for (int number = 10; number < 20; ++number)
        content.push_back(folder("/" + std::to_string(number), 1, 1));
    m_array.setContent(content);
    m_array.setSelectionIndexes({7, 1, 2, 3, 9, 2});
    EXPECT_THAT(m_array.selectionIndexes(), ElementsAre(1, 2, 3, 7, 9));
    EXPECT_EQ(m_array.selectionModel()->selection().size(), 3) << "neighbours are one piece";
}

TEST_F(FoldersArrayControllerTest, rules_disabledRow_isNeitherEnabledNorSelectable)
{
    const LastRowIsOther rules(m_array);
    m_array.setRules(&rules);
    m_array.setContent({folder("/a", 1, 1), kOther});
    m_array.setSelectionIndexes({0, 1});

    EXPECT_THAT(m_array.selectionIndexes(), ElementsAre(0));
    EXPECT_TRUE(m_array.index(0, 0).flags().testFlag(Qt::ItemIsEnabled));
    EXPECT_FALSE(m_array.index(1, 0).flags().testFlag(Qt::ItemIsEnabled));
    EXPECT_TRUE(m_array.index(0, 0).data(FoldersArrayController::StateRole).toBool());
}

TEST_F(FoldersArrayControllerTest, toolTips_sayWhatDoesNotFit)
{
    QLocale::setDefault(QLocale(QLocale::English));
    m_array.setContent({folder("/a/b", 140, 1500000), folder("/<b>x</b>", 1, 1)});
    const auto tip = [&](int row, int column) { return m_array.index(row, column).data(Qt::ToolTipRole).toString(); };
    EXPECT_EQ(tip(0, 0), QStringLiteral("/a/b"));
    EXPECT_EQ(tip(0, 1), QStringLiteral("/a/b"));
    EXPECT_EQ(tip(0, 2), QStringLiteral("100 % looked through"));
    EXPECT_EQ(tip(0, 3), QStringLiteral("1,500,000 bytes"));
    EXPECT_TRUE(tip(1, 1).contains(QStringLiteral("/&lt;b&gt;x&lt;/b&gt;"))) << "it is shown as it stands";
    EXPECT_EQ(tip(1, 3), QStringLiteral("1 byte"));
}

TEST_F(FoldersArrayControllerTest, accessibleText_saysWhatIsSeen)
{
    const LastRowIsOther rules(m_array);
    m_array.setRules(&rules);
    m_array.setContent({folder("/home/me/Music", 140, 1'500'000'000), kOther});

    const auto spoken = [&](int row, int column) {
        return m_array.index(row, column).data(Qt::AccessibleTextRole).toString().toStdString();
    };
    EXPECT_EQ(spoken(0, 0), "Music");
    EXPECT_EQ(spoken(0, 1), "/home/me/Music");
    EXPECT_EQ(spoken(0, 2), "100 %");
    EXPECT_EQ(spoken(0, 3), "1.50 GB");
    EXPECT_EQ(spoken(1, 2), "");
}

TEST_F(FoldersArrayControllerTest, refreshWithAsManyRows_tellsOnlyThatDataChanged)
{
    m_array.setContent({folder("/a", 1, 1)});
    int resets = 0;
    int changes = 0;
    QObject::connect(&m_array, &QAbstractItemModel::modelReset, [&] { ++resets; });
    QObject::connect(&m_array, &QAbstractItemModel::dataChanged, [&] { ++changes; });
    m_array.setContent({folder("/a", 2, 3)});

    EXPECT_EQ(resets, 0);
    EXPECT_EQ(changes, 1);
}

} // namespace
