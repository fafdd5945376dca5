#include "Classes/PrefPane/PaneTabView.h"

#include "Classes/PrefPane/PaneColors.h"

#include <QPainter>

PaneTabBar::PaneTabBar(QWidget *parent)
    : QTabBar(parent)
{
    setDrawBase(false);
    setExpanding(false);
    setMouseTracking(true);
}

QSize PaneTabBar::tabSizeHint(int index) const
{
    QFont bold = font();
    bold.setBold(true);
    const QFontMetrics metrics(bold);
    return {metrics.horizontalAdvance(tabText(index)) + 28, metrics.height() + 16};
}

void PaneTabBar::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QColor text = palette().color(QPalette::WindowText);
    const QPoint pointer = mapFromGlobal(QCursor::pos());
    for (int index = 0; index < count(); ++index) {
        const QRectF place(tabRect(index));
        const bool isCurrent = index == currentIndex();
        if (!isCurrent && underMouse() && place.contains(pointer)) {
            painter.setPen(Qt::NoPen);
            painter.setBrush(blended(palette().color(QPalette::Window), text, 0.08));
            painter.drawRoundedRect(place.adjusted(2, 3, -2, -5), 5, 5);
        }
        QFont font = this->font();
        font.setBold(isCurrent);
        painter.setFont(font);
        painter.setPen(isCurrent ? text : secondaryText(palette()));
        painter.drawText(place.adjusted(0, 0, 0, -2), Qt::AlignCenter | Qt::TextShowMnemonic, tabText(index));
        if (isCurrent) {
            painter.setPen(Qt::NoPen);
            painter.setBrush(palette().color(QPalette::Highlight));
            painter.drawRoundedRect(QRectF(place.left() + 8, place.bottom() - 3, place.width() - 16, 3), 1.5, 1.5);
        }
        if (isCurrent && hasFocus()) {
            painter.setPen(QPen(palette().color(QPalette::Highlight), 1.5));
            painter.setBrush(Qt::NoBrush);
            painter.drawRoundedRect(place.adjusted(2.5, 3.5, -2.5, -6.5), 5, 5);
        }
    }
}

PaneTabView::PaneTabView(QWidget *parent)
    : QTabWidget(parent)
{
    setTabBar(new PaneTabBar(this));
    setDocumentMode(true);
}
