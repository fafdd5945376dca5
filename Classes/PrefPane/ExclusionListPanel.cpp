#include "Classes/PrefPane/ExclusionListPanel.h"

#include "Classes/PrefPane/DVTableView.h"
#include "Classes/PrefPane/ExclusionsArrayController.h"
#include "Classes/PrefPane/FocusRing.h"
#include "Classes/PrefPane/NoteLabel.h"

#include <QApplication>
#include <QClipboard>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLineEdit>
#include <QToolButton>
#include <QVBoxLayout>

static constexpr int kRowHeight = 24;

ExclusionListPanel::ExclusionListPanel(const QString &name, const Words &words, QWidget *parent)
    : QWidget(parent)
{
    m_filter = new QLineEdit(this);
    m_filter->setObjectName(name + QStringLiteral("Filter"));
    m_filter->setPlaceholderText(tr("Filter"));
    m_filter->setAccessibleName(tr("Filter: %1").arg(words.tableName));
    m_filter->setClearButtonEnabled(true);
    m_filter->installEventFilter(this);
    setUpTable(name, words);
    m_add = makeButton(name + QStringLiteral("Add"), QStringLiteral("+"), words.addTip);
    m_remove = makeButton(name + QStringLiteral("Remove"), QStringLiteral("\u2212"), words.removeTip);
    m_entries = new NoteLabel(this);
    m_entries->setWordWrap(false);
    m_count = new NoteLabel(this);
    m_count->setObjectName(name + QStringLiteral("Count"));
    m_count->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    m_notice = new NoteLabel(this);
    m_notice->setObjectName(name + QStringLiteral("Notice"));
    showLines();
    arrange(words.heading);

    connect(m_filter, &QLineEdit::textChanged, this, [this](const QString &text) {
        if (m_arranged)
            m_arranged->setFilter(text);
    });
    connect(m_add, &QAbstractButton::clicked, this, &ExclusionListPanel::addWanted);
    connect(m_remove, &QAbstractButton::clicked, this, &ExclusionListPanel::removeWanted);
}

void ExclusionListPanel::arrange(const QString &headingText)
{
    auto *const heading = new QLabel(headingText, this);
    QFont bold = heading->font();
    bold.setBold(true);
    heading->setFont(bold);
    auto *const top = new QHBoxLayout;
    top->addWidget(heading, 1);
    top->addWidget(m_filter, 1);
    auto *const bottom = new QHBoxLayout;
    bottom->setSpacing(4);
    bottom->addWidget(m_add);
    bottom->addWidget(m_remove);
    bottom->addStretch();
    bottom->addWidget(m_entries);
    auto *const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(6);
    column->addLayout(top);
    column->addWidget(m_table, 1);
    column->addLayout(bottom);
    column->addWidget(m_count);
    column->addWidget(m_notice);
}

void ExclusionListPanel::setUpTable(const QString &name, const Words &words)
{
    m_table = new DVTableView(this);
    m_table->setObjectName(name + QStringLiteral("TableView"));
    m_table->setAccessibleName(words.tableName);
    m_table->setShowGrid(false);
    m_table->setAlternatingRowColors(true);
    m_table->setTabKeyNavigation(false);
    m_table->setWordWrap(false);
    m_table->setCornerButtonEnabled(false);
    m_table->setTextElideMode(Qt::ElideMiddle);
    m_table->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    m_table->verticalHeader()->hide();
    m_table->verticalHeader()->setDefaultSectionSize(kRowHeight);
    m_table->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    m_table->horizontalHeader()->hide();
    m_table->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
    m_table->installEventFilter(this);
    m_whenEmpty = new NoteLabel(m_table->viewport());
    m_whenEmpty->setText(words.whenEmpty);
    m_whenEmpty->setAlignment(Qt::AlignCenter);
    m_whenEmpty->setMargin(16);
    m_whenEmpty->setAttribute(Qt::WA_TransparentForMouseEvents);
    m_table->viewport()->installEventFilter(this);
    new FocusRing(m_table);
}

QToolButton *ExclusionListPanel::makeButton(const QString &name, const QString &text, const QString &tip)
{
    auto *const button = new QToolButton(this);
    button->setObjectName(name);
    button->setText(text);
    button->setToolTip(tip);
    button->setAccessibleName(tip);
    button->setFocusPolicy(Qt::StrongFocus);
    button->setFixedSize(28, 26);
    return button;
}

void ExclusionListPanel::follow(ExclusionsArrayController *arranged)
{
    m_arranged = arranged;
    connect(arranged, &ExclusionsArrayController::filterChanged, m_filter, &QLineEdit::setText);
    connect(arranged, &QAbstractItemModel::modelReset, this, &ExclusionListPanel::showState);
    connect(arranged->selectionModel(), &QItemSelectionModel::selectionChanged, this, &ExclusionListPanel::showState);
    showState();
}

void ExclusionListPanel::setCount(const QString &sentence)
{
    m_count->setText(sentence);
    showLines();
}

void ExclusionListPanel::setNotice(const QString &sentence)
{
    m_notice->setText(sentence);
    showLines();
}

/// There is always room for two lines, so that the table keeps its size when the first is said.
void ExclusionListPanel::showLines()
{
    const bool hasNotice = !m_notice->text().isEmpty();
    m_notice->setVisible(hasNotice);
    m_count->setVisible(!hasNotice || !m_count->text().isEmpty());
    m_count->setMinimumHeight(hasNotice ? 0 : 2 * m_count->fontMetrics().lineSpacing());
}

void ExclusionListPanel::showState()
{
    const int rows = m_arranged->rowCount();
    m_remove->setEnabled(!m_arranged->selectedObjects().empty());
    m_whenEmpty->setVisible(rows == 0 && m_arranged->filter().isEmpty());
    if (!m_arranged->filter().isEmpty())
        m_entries->setText(tr("%1 shown").arg(rows));
    else
        m_entries->setText(rows == 1 ? tr("1 entry") : tr("%1 entries").arg(rows));
}

bool ExclusionListPanel::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_table->viewport() && (event->type() == QEvent::Resize || event->type() == QEvent::Show))
        m_whenEmpty->setGeometry(m_table->viewport()->rect());
    if (event->type() != QEvent::KeyPress)
        return QWidget::eventFilter(watched, event);
    const auto *const key = static_cast<QKeyEvent *>(event);
    if (watched == m_table && key->matches(QKeySequence::Paste)) {
        if (const QMimeData *const content = QApplication::clipboard()->mimeData())
            Q_EMIT pasted(content);
        return true;
    }
    if (watched == m_filter && key->key() == Qt::Key_Escape && !m_filter->text().isEmpty()) {
        m_filter->clear();
        return true;
    }
    return QWidget::eventFilter(watched, event);
}
