#include "Classes/PrefPane/EmptyListNote.h"

#include "Classes/PrefPane/NoteLabel.h"
#include "Classes/PrefPane/PaneColors.h"

#include <QEvent>
#include <QLabel>
#include <QPainter>
#include <QStyle>
#include <QTableView>
#include <QVBoxLayout>

#include <algorithm>

static constexpr QSize kIconSize(48, 48);
static constexpr int kWidest = 430;
static constexpr int kMargin = 12;

EmptyListNote::EmptyListNote(const QString &heading, const QString &explanation, QTableView *table)
    : QWidget(table->viewport())
    , m_table(table)
    , m_spoken(heading + QStringLiteral(". ") + explanation)
{
    m_words = new QWidget(this);
    m_icon = new QLabel(m_words);
    m_icon->setAlignment(Qt::AlignCenter);
    loadIcon();
    auto *const title = new QLabel(heading, m_words);
    QFont bold = font();
    bold.setBold(true);
    bold.setPointSizeF(bold.pointSizeF() * 1.2);
    title->setFont(bold);
    title->setAlignment(Qt::AlignCenter);
    auto *const text = new NoteLabel(m_words);
    text->setText(explanation);
    text->setAlignment(Qt::AlignCenter);
    setAttribute(Qt::WA_TransparentForMouseEvents); // what is dropped goes to the table

    auto *const column = new QVBoxLayout(m_words);
    column->setContentsMargins(32, 22, 32, 24);
    column->setSpacing(8);
    column->addWidget(m_icon);
    column->addWidget(title);
    column->addWidget(text);
    auto *const place = new QVBoxLayout(this);
    place->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    place->addWidget(m_words, 0, Qt::AlignCenter);
    table->viewport()->installEventFilter(this);
    showOrHide();
}

void EmptyListNote::loadIcon()
{
    m_icon->setPixmap(style()->standardIcon(QStyle::SP_DirIcon).pixmap(kIconSize, devicePixelRatioF()));
}

void EmptyListNote::follow(const QAbstractItemModel *model)
{
    m_model = model;
    connect(model, &QAbstractItemModel::rowsInserted, this, &EmptyListNote::showOrHide);
    connect(model, &QAbstractItemModel::rowsRemoved, this, &EmptyListNote::showOrHide);
    connect(model, &QAbstractItemModel::modelReset, this, &EmptyListNote::showOrHide);
    showOrHide();
}

void EmptyListNote::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QPen pen(blended(palette().color(QPalette::Text), palette().color(QPalette::Base), 0.6), 1.5);
    pen.setDashPattern({5, 4});
    painter.setPen(pen);
    painter.drawRoundedRect(QRectF(m_words->geometry()).adjusted(1, 1, -1, -1), 10, 10);
}

bool EmptyListNote::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Resize || event->type() == QEvent::Show)
        fill();
    return QWidget::eventFilter(watched, event);
}

void EmptyListNote::fill()
{
    setGeometry(m_table->viewport()->rect());
    m_words->setFixedWidth(std::clamp(width() - 2 * kMargin, kMargin, kWidest));
}

void EmptyListNote::showOrHide()
{
    fill();
    const bool isEmpty = !m_model || m_model->rowCount() == 0;
    setVisible(isEmpty);
    // What lies over a table's cells is in no tree that is read aloud.
    m_table->setAccessibleDescription(isEmpty ? m_spoken : QString());
}
