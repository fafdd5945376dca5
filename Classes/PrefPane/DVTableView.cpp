#include "Classes/PrefPane/DVTableView.h"

#include "Classes/PrefPane/FocusRing.h"

#include <QApplication>
#include <QDropEvent>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPointer>
#include <QStyledItemDelegate>

#include <algorithm>
#include <utility>

namespace {

/// Tells the table of every change in the field editor.
class FieldEditing final : public QStyledItemDelegate
{
public:
    explicit FieldEditing(DVTableView *table)
        : QStyledItemDelegate(table)
        , m_table(table)
    {
    }

    QWidget *createEditor(QWidget *parent, const QStyleOptionViewItem &option, const QModelIndex &index) const override
    {
        QWidget *const editor = QStyledItemDelegate::createEditor(parent, option, index);
        if (auto *const line = qobject_cast<QLineEdit *>(editor)) {
            line->setAccessibleName(m_table->accessibleName());
            connect(line, &QLineEdit::textEdited, m_table, [this, line] { m_table->textDidChange(line); });
        }
        m_editor = editor;
        return editor;
    }

    /// The one that was made last.
    QWidget *editor() const { return m_editor; }

private:
    DVTableView *m_table;
    mutable QPointer<QWidget> m_editor;
};

} // namespace

DVTableView::DVTableView(QWidget *parent)
    : QTableView(parent)
{
    setItemDelegate(new FieldEditing(this));
    setSelectionBehavior(SelectRows);
    setEditTriggers(DoubleClicked | EditKeyPressed);
}

void DVTableView::setValidationCharacterSet(std::optional<QString> characters)
{
    m_validationCharacterSet = std::move(characters);
}

std::vector<int> DVTableView::selectedRowIndexes() const
{
    std::vector<int> rows;
    if (!selectionModel())
        return rows;
    for (const QModelIndex &index : selectionModel()->selectedRows())
        rows.push_back(index.row());
    std::sort(rows.begin(), rows.end());
    return rows;
}

void DVTableView::keyPressEvent(QKeyEvent *event)
{
    const bool isDelete = event->key() == Qt::Key_Backspace || event->key() == Qt::Key_Delete;
    if (!isDelete || state() == EditingState) { // what the field editor leaves is not for the rows
        forgetUnselectedCursor(*event);
        return QTableView::keyPressEvent(event);
    }
    event->accept();
    const std::vector<int> rows = selectedRowIndexes();
    if (!rows.empty() && m_delegate && m_delegate->tableviewRemoveSelectedRowIndexes(*this, rows))
        return;
    beep();
}

/// A table that gets the keys puts its cursor on the first row without selecting that. A key that moves the cursor
/// would pass it over, or do nothing where it leads there.
void DVTableView::forgetUnselectedCursor(const QKeyEvent &event)
{
    const bool selects = event.modifiers() == Qt::NoModifier; // with others the cursor may go where it will
    if (selects && state() != EditingState && selectionModel() && !selectionModel()->hasSelection())
        selectionModel()->clearCurrentIndex();
}

void DVTableView::beep()
{
    QApplication::beep();
    Q_EMIT beeped();
}

void DVTableView::textDidChange(QLineEdit *editor)
{
    if (!m_validationCharacterSet)
        return;
    const QString text = editor->text();
    const auto isAllowed = [this](QChar character) { return m_validationCharacterSet->contains(character); };
    const auto first = std::find_if(text.begin(), text.end(), isAllowed);
    const auto last = std::find_if(text.rbegin(), std::make_reverse_iterator(first), isAllowed).base();
    const QString allowed(first, int(last - first));
    if (allowed == text)
        return;
    const int position = editor->cursorPosition() - int(first - text.begin());
    editor->setText(allowed);
    editor->setCursorPosition(std::clamp(position, 0, int(allowed.size())));
}

bool DVTableView::edit(const QModelIndex &index, EditTrigger trigger, QEvent *event)
{
    const bool isMeant = trigger == AllEditTriggers || editTriggers().testFlag(trigger);
    if (!isMeant || trigger == NoEditTriggers || state() == EditingState || !index.flags().testFlag(Qt::ItemIsEditable))
        return QTableView::edit(index, trigger, event);
    const QModelIndex place = m_delegate ? m_delegate->tableviewWillEdit(*this, index) : index;
    selectionModel()->setCurrentIndex(place, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    return QTableView::edit(place, trigger, event);
}

void DVTableView::endEditing()
{
    const auto *const editing = dynamic_cast<FieldEditing *>(itemDelegate());
    QWidget *const editor = editing ? editing->editor() : nullptr;
    if (state() != EditingState || !editor)
        return;
    commitData(editor);
    closeEditor(editor, QAbstractItemDelegate::NoHint);
}

void DVTableView::closeEditor(QWidget *editor, QAbstractItemDelegate::EndEditHint hint)
{
    const bool isEnded = state() == EditingState && hint != QAbstractItemDelegate::RevertModelCache;
    // The tabulator would edit the next row before the end of this edit was told.
    QTableView::closeEditor(editor, isEnded ? QAbstractItemDelegate::NoHint : hint);
    if (isEnded && m_delegate)
        m_delegate->tableviewDidEndEditing(*this, selectedRowIndexes());
}

bool DVTableView::mayDrop(const QDropEvent &event)
{
    return m_dataSource && event.mimeData() && m_dataSource->tableViewValidateDrop(*this, *event.mimeData());
}

void DVTableView::dragEnterEvent(QDragEnterEvent *event)
{
    setTarget(mayDrop(*event) && event->possibleActions().testFlag(Qt::CopyAction));
    dragMoveEvent(event);
}

void DVTableView::dragMoveEvent(QDragMoveEvent *event)
{
    if (!m_isTarget)
        return event->ignore();
    event->setDropAction(Qt::CopyAction);
    event->accept();
}

void DVTableView::dragLeaveEvent(QDragLeaveEvent *)
{
    setTarget(false);
}

void DVTableView::setTarget(bool isTarget)
{
    if (std::exchange(m_isTarget, isTarget) != isTarget)
        viewport()->update();
}

void DVTableView::paintEvent(QPaintEvent *event)
{
    QTableView::paintEvent(event);
    if (m_isTarget)
        FocusRing::drawIn(*viewport());
}

void DVTableView::dropEvent(QDropEvent *event)
{
    setTarget(false);
    if (!mayDrop(*event) || !m_dataSource->tableViewAcceptDrop(*this, *event->mimeData(), event->source()))
        return event->ignore();
    event->setDropAction(Qt::CopyAction);
    event->accept();
}
