#pragma once

#include <QTableView>

#include <optional>
#include <vector>

class DVTableView;
class QLineEdit;
class QMimeData;

/// Who decides what a `DVTableView` does with its rows. Rows are selected ones, ascending.
class DVTableViewDelegate
{
public:
    virtual ~DVTableViewDelegate() = default;

    /// Answers false when it does not respond to this.
    virtual bool tableviewRemoveSelectedRowIndexes(DVTableView &, const std::vector<int> &) { return false; }

    /// A cell of a selected row was edited; the model has the new text.
    virtual void tableviewDidEndEditing(DVTableView &, const std::vector<int> &) {}

    /// A cell is going to be edited. Answers where it is then.
    virtual QModelIndex tableviewWillEdit(DVTableView &, const QModelIndex &index) { return index; }
};

/// Who takes what is dropped on a `DVTableView`.
class DVTableViewDataSource
{
public:
    virtual ~DVTableViewDataSource() = default;

    /// Whether what is dragged over the table may be dropped on it as a whole, which copies it.
    virtual bool tableViewValidateDrop(DVTableView &, const QMimeData &) { return false; }

    /// `source` is where the drag began, nullptr for another program. Answers whether the drop was taken.
    virtual bool tableViewAcceptDrop(DVTableView &, const QMimeData &, const QObject *source)
    {
        return static_cast<void>(source), false;
    }
};

/// A table whose delete keys remove the selected rows through its delegate, whose cells take only some characters at
/// their ends, and which says when a cell was edited. While a cell is edited, its row alone is selected. Main thread.
class DVTableView final : public QTableView
{
    Q_OBJECT

public:
    explicit DVTableView(QWidget *parent = nullptr);

    /// Both outlive the table; nullptr for none.
    void setTableDelegate(DVTableViewDelegate *delegate) { m_delegate = delegate; }
    void setDataSource(DVTableViewDataSource *source) { m_dataSource = source; }

    /// The characters that the text of a cell may begin and end with. Nothing: all.
    const std::optional<QString> &validationCharacterSet() const { return m_validationCharacterSet; }
    void setValidationCharacterSet(std::optional<QString> characters);

    std::vector<int> selectedRowIndexes() const;

    using QTableView::edit;

    /// Takes over what is being typed, as a click elsewhere would.
    void endEditing();

    /// Tells the user that what was asked for could not be done.
    void beep();

    /// Trims from the ends of what the editor holds whatever may not stand there. Between others it stays.
    void textDidChange(QLineEdit *editor);

Q_SIGNALS:
    /// A delete key, or whoever asked for it, had nothing to do.
    void beeped();

protected:
    void keyPressEvent(QKeyEvent *event) override;
    bool edit(const QModelIndex &index, EditTrigger trigger, QEvent *event) override;
    void closeEditor(QWidget *editor, QAbstractItemDelegate::EndEditHint hint) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dragLeaveEvent(QDragLeaveEvent *event) override;
    void dropEvent(QDropEvent *event) override;

    /// Draws a frame while something is over the table that may be dropped on it.
    void paintEvent(QPaintEvent *event) override;

private:
    void forgetUnselectedCursor(const QKeyEvent &event);
    bool mayDrop(const QDropEvent &event);
    void setTarget(bool isTarget);

    DVTableViewDelegate *m_delegate = nullptr;
    DVTableViewDataSource *m_dataSource = nullptr;
    bool m_isTarget = false; ///< of a drag; found out once, since that may look at many files
    std::optional<QString> m_validationCharacterSet;
};
