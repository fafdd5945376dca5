#pragma once

#include <QWidget>

class QAbstractItemModel;
class QLabel;
class QTableView;

/// Stands in the middle of a table that has no rows and says how to begin, in the table's accessible description too.
/// The table owns it.
class EmptyListNote final : public QWidget
{
    Q_OBJECT

public:
    EmptyListNote(const QString &heading, const QString &explanation, QTableView *table);

    /// The rows to look at; the model outlives the table.
    void follow(const QAbstractItemModel *model);

    /// Takes the icon from the desktop's theme anew.
    void loadIcon();

    bool eventFilter(QObject *watched, QEvent *event) override;

protected:
    /// Draws the outline of a place where things can be dropped.
    void paintEvent(QPaintEvent *event) override;

private:
    void fill();
    void showOrHide();

    QTableView *m_table;
    QWidget *m_words = nullptr; ///< heading and explanation
    QLabel *m_icon = nullptr;
    QString m_spoken;
    const QAbstractItemModel *m_model = nullptr;
};
