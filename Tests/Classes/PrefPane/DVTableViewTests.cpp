#include "Classes/PrefPane/DVTableView.h"

#include <QDragEnterEvent>
#include <QLineEdit>
#include <QMimeData>
#include <QSignalSpy>
#include <QStandardItemModel>
#include <QStyledItemDelegate>
#include <QTest>

#include <gmock/gmock.h>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

/// Notes what the table says.
class NotingDelegate final : public DVTableViewDelegate
{
public:
    bool tableviewRemoveSelectedRowIndexes(DVTableView &, const std::vector<int> &rows) override
    {
        removed.push_back(rows);
        return responds;
    }
    void tableviewDidEndEditing(DVTableView &table, const std::vector<int> &rows) override
    {
        ended.push_back(rows);
        textAtEnd = table.model()->index(rows.front(), 0).data().toString().toStdString();
    }

    bool responds = true;
    std::vector<std::vector<int>> removed;
    std::vector<std::vector<int>> ended;
    std::string textAtEnd;
};

class DVTableViewTest : public ::testing::Test
{
protected:
    DVTableViewTest()
    {
        for (const char *text : {"one", "two", "three"})
            model.appendRow(new QStandardItem(QString::fromLatin1(text)));
        table.setModel(&model);
        table.setTableDelegate(&delegate);
        table.resize(300, 200);
        table.show();
        QCoreApplication::processEvents();
    }

    /// Begins to edit the cell and empties it.
    QLineEdit &edit(int row)
    {
        table.edit(model.index(row, 0));
        auto *const editor = table.viewport()->findChild<QLineEdit *>();
        if (!editor)
            throw std::runtime_error("no editor");
        editor->clear();
        return *editor;
    }
    static std::string typed(QLineEdit &editor, const char *keys)
    {
        QTest::keyClicks(&editor, QString::fromLatin1(keys));
        return editor.text().toStdString();
    }

    QStandardItemModel model;
    NotingDelegate delegate;
    DVTableView table;
};

} // namespace

TEST_F(DVTableViewTest, deleteKeys_removeTheSelectedRowsThroughTheDelegate)
{
    table.setSelectionMode(QAbstractItemView::MultiSelection);
    table.selectRow(2);
    table.selectRow(0);
    QTest::keyClick(&table, Qt::Key_Delete);
    QTest::keyClick(&table, Qt::Key_Backspace);
    QTest::keyClick(&table, Qt::Key_Backspace, Qt::ControlModifier);
    EXPECT_THAT(delegate.removed, ElementsAre(ElementsAre(0, 2), ElementsAre(0, 2), ElementsAre(0, 2)));
}

TEST_F(DVTableViewTest, deleteKey_withoutSelection_beepsAndRemovesNothing)
{
    QSignalSpy beeps(&table, &DVTableView::beeped);
    QTest::keyClick(&table, Qt::Key_Backspace);
    EXPECT_EQ(beeps.size(), 1);
    EXPECT_THAT(delegate.removed, IsEmpty());
}

TEST_F(DVTableViewTest, deleteKey_delegateDoesNotRespond_beepsEvenWithRowsSelected)
{
    QSignalSpy beeps(&table, &DVTableView::beeped);
    table.selectRow(1);
    delegate.responds = false;
    QTest::keyClick(&table, Qt::Key_Delete);
    table.setTableDelegate(nullptr);
    QTest::keyClick(&table, Qt::Key_Delete);
    EXPECT_EQ(beeps.size(), 2);
}

TEST_F(DVTableViewTest, otherKeys_areTheTablesOwn)
{
    table.setCurrentIndex(model.index(0, 0));
    QTest::keyClick(&table, Qt::Key_Down);
    EXPECT_THAT(table.selectedRowIndexes(), ElementsAre(1));
    EXPECT_THAT(delegate.removed, IsEmpty());
}

TEST_F(DVTableViewTest, cursorKeys_nothingSelected_selectTheFirstRow)
{
    for (const Qt::Key key : {Qt::Key_Home, Qt::Key_Down}) {
        table.clearSelection();
        table.selectionModel()->setCurrentIndex(model.index(0, 0), QItemSelectionModel::NoUpdate);
        QTest::keyClick(&table, key);
        EXPECT_THAT(table.selectedRowIndexes(), ElementsAre(0)) << key;
    }
    QTest::keyClick(&table, Qt::Key_Down);
    EXPECT_THAT(table.selectedRowIndexes(), ElementsAre(1));
}

TEST_F(DVTableViewTest, backspaceWhileEditing_isTheEditors)
{
    QLineEdit &editor = edit(1);
    EXPECT_EQ(typed(editor, "abc"), "abc");
    QTest::keyClick(&editor, Qt::Key_Backspace);
    EXPECT_EQ(editor.text(), QStringLiteral("ab"));
    EXPECT_THAT(delegate.removed, IsEmpty());
}

TEST_F(DVTableViewTest, deleteKeyThatTheEditorLeaves_removesNoRow)
{
    edit(1);
    QTest::keyClick(&table, Qt::Key_Delete, Qt::AltModifier);
    QTest::keyClick(&table, Qt::Key_Backspace);
    EXPECT_THAT(delegate.removed, IsEmpty());
    EXPECT_NE(table.viewport()->findChild<QLineEdit *>(), nullptr);
}

TEST_F(DVTableViewTest, noSet_takesEveryCharacter)
{
    EXPECT_EQ(typed(edit(0), "*a b*"), "*a b*");
}

TEST_F(DVTableViewTest, set_trimsTheEndsAndLeavesTheMiddle)
{
    table.setValidationCharacterSet(QStringLiteral("abcdefg."));
    EXPECT_EQ(typed(edit(0), "*"), "") << "a first one is gone at once";
    QLineEdit &editor = *table.viewport()->findChild<QLineEdit *>();
    EXPECT_EQ(typed(editor, "ab*"), "ab");
    editor.setCursorPosition(1);
    EXPECT_EQ(typed(editor, " "), "a b") << "between allowed ones it stays";
    EXPECT_EQ(editor.cursorPosition(), 2);
    editor.clear();
    editor.insert(QStringLiteral("*a*b*"));
    table.textDidChange(&editor);
    EXPECT_EQ(editor.text(), QStringLiteral("a*b"));
    EXPECT_EQ(editor.cursorPosition(), 3);
}

TEST_F(DVTableViewTest, emptySet_allowsNothing)
{
    table.setValidationCharacterSet(QString());
    EXPECT_EQ(typed(edit(0), "abc"), "");
}

TEST_F(DVTableViewTest, endOfEditing_isToldOnceTheModelHasTheText)
{
    QLineEdit &editor = edit(1);
    typed(editor, "new");
    QTest::keyClick(&editor, Qt::Key_Return);
    QCoreApplication::processEvents();
    EXPECT_THAT(delegate.ended, ElementsAre(ElementsAre(1)));
    EXPECT_EQ(delegate.textAtEnd, "new");
}

TEST_F(DVTableViewTest, tabulator_endsEditingAndEditsNoOtherRow)
{
    QLineEdit &editor = edit(1);
    typed(editor, "new");
    QTest::keyClick(&editor, Qt::Key_Tab);
    EXPECT_THAT(delegate.ended, ElementsAre(ElementsAre(1)));
    EXPECT_THAT(table.selectedRowIndexes(), ElementsAre(1));
}

TEST_F(DVTableViewTest, escape_changesAndTellsNothing)
{
    QLineEdit &editor = edit(1);
    typed(editor, "new");
    QTest::keyClick(&editor, Qt::Key_Escape);
    EXPECT_THAT(delegate.ended, IsEmpty());
    EXPECT_EQ(model.item(1)->text(), QStringLiteral("two"));
}

TEST_F(DVTableViewTest, endEditing_takesWhatWasTyped)
{
    table.endEditing();
    EXPECT_THAT(delegate.ended, IsEmpty()) << "nothing was edited";
    typed(edit(2), "new");
    table.endEditing();
    EXPECT_THAT(delegate.ended, ElementsAre(ElementsAre(2)));
    EXPECT_EQ(delegate.textAtEnd, "new");
}

TEST_F(DVTableViewTest, editedRow_isSelectedAlone)
{
    table.selectAll();
    edit(1);
    EXPECT_THAT(table.selectedRowIndexes(), ElementsAre(1));
}

TEST_F(DVTableViewTest, withoutDelegate_editsAndEnds)
{
    table.setTableDelegate(nullptr);
    QLineEdit &editor = edit(1);
    typed(editor, "new");
    QTest::keyClick(&editor, Qt::Key_Return);
    QCoreApplication::processEvents();
    EXPECT_EQ(model.item(1)->text(), QStringLiteral("new"));
}

// Dragging

namespace {

/// Takes what has text, and counts how often it is asked.
class TextTaking final : public DVTableViewDataSource
{
public:
    bool tableViewValidateDrop(DVTableView &, const QMimeData &data) override { return ++asked, data.hasText(); }
    bool tableViewAcceptDrop(DVTableView &, const QMimeData &, const QObject *) override { return true; }

    int asked = 0;
};

class DVTableViewDragTest : public DVTableViewTest
{
protected:
    DVTableViewDragTest()
    {
        table.setDataSource(&source);
        table.setAcceptDrops(true);
    }

    template <class Event>
    void send(const QMimeData &data)
    {
        Event event({10, 10}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(table.viewport(), &event);
    }
    QImage look() { return table.viewport()->grab().toImage(); }

    TextTaking source;
    const QImage before = look();
};

} // namespace

TEST_F(DVTableViewDragTest, whatMayBeDropped_isShownUntilItLeaves)
{
    QMimeData text;
    text.setText(QStringLiteral("text"));
    send<QDragEnterEvent>(text);
    EXPECT_NE(look(), before);
    QDragLeaveEvent leave;
    QCoreApplication::sendEvent(table.viewport(), &leave);
    EXPECT_EQ(look(), before);
    send<QDragEnterEvent>(text);
    send<QDropEvent>(text);
    EXPECT_EQ(look(), before);
    send<QDragEnterEvent>(QMimeData());
    EXPECT_EQ(look(), before) << "it is not taken";
}

TEST_F(DVTableViewDragTest, manyMoves_askOnce)
{
    QMimeData text;
    text.setText(QStringLiteral("text"));
    send<QDragEnterEvent>(text);
    for (int move = 0; move < 20; ++move)
        send<QDragMoveEvent>(text);
    EXPECT_EQ(source.asked, 1);
}

TEST_F(DVTableViewTest, endEditing_ofCellsThatAnotherDraws_doesNothing)
{
    QStyledItemDelegate other;
    table.setItemDelegate(&other);
    table.endEditing();
    EXPECT_THAT(delegate.ended, IsEmpty());
}
