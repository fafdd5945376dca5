#pragma once

#include <QMimeData>
#include <QWidget>

class DVTableView;
class ExclusionsArrayController;
class NoteLabel;
class QLabel;
class QLineEdit;
class QToolButton;

/// One exclusion list as the user sees it: a heading, a field that filters, the table, buttons to add and to remove,
/// and two lines below for what the list says of itself. Shows and reports; decides nothing. Main thread.
class ExclusionListPanel final : public QWidget
{
    Q_OBJECT

public:
    /// The words that differ between the lists.
    struct Words
    {
        QString heading;
        QString tableName; ///< what the table is called where it is read aloud
        QString addTip;
        QString removeTip;
        QString whenEmpty; ///< shown in the table's place while it has no rows
    };

    /// `name` starts the object names of what is in it: "paths" gives "pathsTableView", "pathsFilter", "pathsAdd" …
    ExclusionListPanel(const QString &name, const Words &words, QWidget *parent = nullptr);

    DVTableView *tableView() const { return m_table; }

    /// Follows the rows, the selection and the filter of `arranged`, which the table shows by now and which lives as
    /// long.
    void follow(ExclusionsArrayController *arranged);

    /// How many files are left out, or that they are being counted; a sentence.
    void setCount(const QString &sentence);

    /// What happened to the file of the list; a sentence that stays.
    void setNotice(const QString &sentence);

Q_SIGNALS:
    void addWanted();
    void removeWanted();
    void pasted(const QMimeData *content);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QToolButton *makeButton(const QString &name, const QString &text, const QString &tip);
    void arrange(const QString &headingText);
    void setUpTable(const QString &name, const Words &words);
    void showLines();
    void showState();

    ExclusionsArrayController *m_arranged = nullptr;
    QLineEdit *m_filter = nullptr;
    DVTableView *m_table = nullptr;
    QLabel *m_whenEmpty = nullptr;
    QToolButton *m_add = nullptr;
    QToolButton *m_remove = nullptr;
    NoteLabel *m_entries = nullptr;
    NoteLabel *m_count = nullptr;
    NoteLabel *m_notice = nullptr;
};
