#include "Host/PaneGrid.h"

#include <QGridLayout>
#include <QKeyEvent>
#include <QToolButton>

#include <algorithm>

static constexpr int kIconSize = 48;
static constexpr int kCellWidth = 124;
static constexpr int kMargin = 24;
static constexpr int kSpacing = 12;

PaneGrid::PaneGrid(QWidget *parent)
    : QWidget(parent)
    , m_layout(new QGridLayout)
{
    auto *const outer = new QVBoxLayout(this);
    outer->setSizeConstraint(QLayout::SetNoConstraint); // the row as it is must not keep it from getting narrower
    outer->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    outer->addLayout(m_layout);
    outer->addStretch();
    m_layout->setSpacing(kSpacing);
    m_layout->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    setAccessibleName(tr("Preference panes"));
}

void PaneGrid::setItems(const std::vector<Item> &items)
{
    for (QToolButton *const button : m_buttons)
        delete button;
    m_buttons.clear();
    for (const Item &item : items) {
        auto *const button = new QToolButton(this);
        const int index = int(m_buttons.size());
        // A tool button takes an ampersand for a mnemonic.
        button->setText(QString(item.name).replace(QLatin1Char('&'), QLatin1String("&&")));
        button->setAccessibleName(item.name);
        button->setToolTip(item.toolTip);
        button->setIcon(item.icon);
        button->setIconSize(QSize(kIconSize, kIconSize));
        button->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
        button->setAutoRaise(true);
        button->setFocusPolicy(Qt::StrongFocus);
        button->setMinimumWidth(kCellWidth);
        button->installEventFilter(this);
        connect(button, &QToolButton::clicked, this, [this, index] { Q_EMIT activated(index); });
        m_buttons.push_back(button);
    }
    m_columns = 0;
    arrange();
}

void PaneGrid::focusItem(int index)
{
    if (index >= 0 && index < int(m_buttons.size()))
        m_buttons[std::size_t(index)]->setFocus(Qt::OtherFocusReason);
}

bool PaneGrid::eventFilter(QObject *watched, QEvent *event)
{
    const auto found = std::ranges::find(m_buttons, watched);
    if (event->type() != QEvent::KeyPress || found == m_buttons.end())
        return QWidget::eventFilter(watched, event);
    const int key = static_cast<QKeyEvent *>(event)->key();
    if (key == Qt::Key_Return || key == Qt::Key_Enter) {
        (*found)->click();
        return true;
    }
    return moveFocus(int(found - m_buttons.begin()), key) || QWidget::eventFilter(watched, event);
}

void PaneGrid::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    arrange();
}

QSize PaneGrid::minimumSizeHint() const
{
    return {cellWidth() + 2 * kMargin, m_layout->minimumSize().height() + 2 * kMargin};
}

int PaneGrid::cellWidth() const
{
    int width = kCellWidth;
    for (const QToolButton *const button : m_buttons)
        width = std::max(width, button->sizeHint().width());
    return width;
}

void PaneGrid::arrange()
{
    const int columns = std::max(1, (width() - 2 * kMargin + kSpacing) / (cellWidth() + kSpacing));
    if (columns == m_columns)
        return;
    m_columns = columns;
    for (int index = 0; index < int(m_buttons.size()); ++index)
        m_layout->addWidget(m_buttons[std::size_t(index)], index / columns, index % columns);
    updateGeometry();
}

bool PaneGrid::moveFocus(int from, int key)
{
    const int sideways = layoutDirection() == Qt::RightToLeft ? -1 : 1;
    int to = from;
    switch (key) {
    case Qt::Key_Left:
        to -= sideways;
        break;
    case Qt::Key_Right:
        to += sideways;
        break;
    case Qt::Key_Up:
        to -= m_columns;
        break;
    case Qt::Key_Down:
        to += m_columns;
        break;
    default:
        return false;
    }
    focusItem(to);
    return true;
}
