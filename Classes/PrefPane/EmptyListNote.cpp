#include "Classes/PrefPane/EmptyListNote.h"

#include "Classes/PrefPane/NoteLabel.h"

#include <QEvent>
#include <QFontDatabase>
#include <QTableView>
#include <QVBoxLayout>

EmptyListNote::EmptyListNote(const QString &heading, const QString &explanation, const QString &command,
                             QTableView *table)
    : QWidget(table->viewport())
    , m_table(table)
    , m_spoken(heading + QStringLiteral(". ") + explanation + QLatin1Char(' ') + command)
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
    auto *const line = new QLabel(command, this);
    line->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    line->setTextFormat(Qt::PlainText);
    line->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    line->setAccessibleName(tr("Command that adds a folder: %1").arg(command));
    line->setAlignment(Qt::AlignCenter);
    line->setWordWrap(true);

    auto *const column = new QVBoxLayout(this);
    column->setContentsMargins(48, 12, 48, 12);
    column->setSpacing(8);
    column->addStretch(2);
    column->addWidget(title);
    column->addWidget(text);
    column->addWidget(line);
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
