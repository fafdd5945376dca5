#include "Host/TableMemory.h"

#include "Tests/Support/PrivateHome.h"

#include <QHeaderView>
#include <QStandardItemModel>

#include <gmock/gmock.h>

namespace {

/// A table of three columns, of which the middle one takes what is left.
class TableInPane final
{
public:
    TableInPane()
    {
        for (const int number : {2, 1, 3}) {
            auto *const item = new QStandardItem;
            item->setData(number, Qt::DisplayRole);
            model.appendRow({new QStandardItem, new QStandardItem, item});
        }
        table = new QTableView(&view);
        table->setObjectName(QStringLiteral("table"));
        table->setModel(&model);
        table->setSortingEnabled(true);
        table->sortByColumn(0, Qt::AscendingOrder);
        header().setSectionResizeMode(1, QHeaderView::Stretch);
        header().resizeSection(0, 100);
        header().resizeSection(2, 60);
    }

    QHeaderView &header() const { return *table->horizontalHeader(); }
    int width(int column) const { return header().sectionSize(column); }

    QStandardItemModel model;
    QWidget view;
    QTableView *table = nullptr;
};

class TableMemoryTest : public ::testing::Test
{
protected:
    const Path path = PrivateHome::current().root() / "settings.plist";
    HostSettings settings{path};
    TableMemory memory{settings};
};

} // namespace

TEST_F(TableMemoryTest, whatTheUserChanged_isThereTheNextTime)
{
    {
        const TableInPane pane;
        memory.restore("com.example", pane.view);
        pane.header().resizeSection(0, 140);
        pane.table->sortByColumn(2, Qt::DescendingOrder);
        memory.collect();
        settings.save();
    }
    HostSettings later(path);
    TableMemory laterMemory(later);
    const TableInPane pane;
    laterMemory.restore("com.example", pane.view);
    EXPECT_EQ(pane.width(0), 140);
    EXPECT_EQ(pane.width(2), 60);
    EXPECT_EQ(pane.header().sortIndicatorSection(), 2);
    EXPECT_EQ(pane.header().sortIndicatorOrder(), Qt::DescendingOrder);
    EXPECT_EQ(pane.model.item(0, 2)->data(Qt::DisplayRole).toInt(), 3) << "the rows are ordered, too";
}

TEST_F(TableMemoryTest, untouchedTable_isNotRemembered)
{
    const TableInPane pane;
    memory.restore("com.example", pane.view);
    memory.collect();
    EXPECT_EQ(settings.table("com.example/table"), TableState());
}

TEST_F(TableMemoryTest, panes_haveTablesOfTheirOwn)
{
    const TableInPane pane;
    memory.restore("com.example", pane.view);
    pane.header().resizeSection(0, 140);
    memory.collect();
    const TableInPane other;
    memory.restore("com.other", other.view);
    EXPECT_EQ(other.width(0), 100);
}

TEST_F(TableMemoryTest, stateThatDoesNotFit_leavesTheTableAsItIs)
{
    settings.setTable("com.example/table", {{140, 0}, 7, true});
    settings.setTable("com.other/table", {{5, 90, 999999}, -1, true});
    const TableInPane pane;
    memory.restore("com.example", pane.view);
    const TableInPane other;
    memory.restore("com.other", other.view);
    for (const TableInPane *each : {&pane, &other}) {
        EXPECT_EQ(each->width(0), 100);
        EXPECT_EQ(each->width(2), 60);
        EXPECT_EQ(each->header().sortIndicatorSection(), 0);
    }
}

TEST_F(TableMemoryTest, tableThatIsGone_isForgotten)
{
    {
        const TableInPane pane;
        memory.restore("com.example", pane.view);
    }
    memory.collect();
    EXPECT_EQ(settings.table("com.example/table"), TableState());
}
