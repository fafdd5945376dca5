#include "Classes/PrefPane/EmptyListNote.h"

#include "Classes/PrefPane/NoteLabel.h"

#include <QEvent>
#include <QLabel>
#include <QTableView>
#include <QVBoxLayout>

EmptyListNote::EmptyListNote(const QString &heading, const QString &explanation, QTableView *table)
    : QWidget(table->viewport())
    , m_table(table)
    , m_spoken(heading + QStringLiteral(". ") + explanation)
{
    auto *const title = new QLabel(heading, this);
    QFont bold = font();
    bold.setBold(true);
    bold.setPointSizeF(bold.pointSizeF() * 1.2);
    title->setFont(bold);
    title->setAlignment(Qt::AlignCenter);
    auto *const text = new NoteLabel(this);
    text->setText(explanation);
    text->setAlignment(Qt::AlignCenter);
    setAttribute(Qt::WA_TransparentForMouseEvents); // what is dropped goes to the table

    auto *const column = new QVBoxLayout(this);
    column->setContentsMargins(48, 12, 48, 12);
    column->setSpacing(8);
    column->addStretch(2);
    column->addWidget(title);
    column->addWidget(text);
    column->addStretch(3);
    table->viewport()->installEventFilter(this);
    showOrHide();
}

void EmptyListNote::follow(const QAbstractItemModel *model)
{
    m_model = model;
    connect(model, &QAbstractItemModel::rowsInserted, this, &EmptyListNote::showOrHide);
    connect(model, &QAbstractItemModel::rowsRemoved, this, &EmptyListNote::showOrHide);
    connect(model, &QAbstractItemModel::modelReset, this, &EmptyListNote::showOrHide);
    showOrHide();
}

bool EmptyListNote::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Resize || event->type() == QEvent::Show)
        setGeometry(m_table->viewport()->rect());
    return QWidget::eventFilter(watched, event);
}

void EmptyListNote::showOrHide()
{
    setGeometry(m_table->viewport()->rect());
    const bool isEmpty = !m_model || m_model->rowCount() == 0;
    setVisible(isEmpty);
    // What lies over a table's cells is in no tree that is read aloud.
    m_table->setAccessibleDescription(isEmpty ? m_spoken : QString());
}
