#include "Classes/PrefPane/IconButton.h"

#include <QFocusEvent>
#include <QPainter>

static constexpr int kIconSide = 112;

// A bubble's way ends beside the icon's upper right corner, so the icon stands left of the middle.
static constexpr QPoint kIconPlace(4, 18);

IconButton::IconButton(QWidget *parent)
    : QAbstractButton(parent)
{
    m_layer.setNeedsDisplayHandler([this] { update(); });
}

void IconButton::setIcons(const QPixmap &single, const QPixmap &doubled)
{
    m_single = single;
    m_double = doubled;
    update();
}

QSize IconButton::sizeHint() const
{
    return {132, 148};
}

void IconButton::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    const QPixmap &icon = devicePixelRatioF() > 1 ? m_double : m_single;
    const QRect place(kIconPlace, QSize(kIconSide, kIconSide));
    painter.drawPixmap(place, icon);
    if (hasFocus() && m_showsFocus) {
        painter.setPen(QPen(palette().color(QPalette::Highlight), 2));
        painter.setRenderHint(QPainter::Antialiasing);
        painter.drawRoundedRect(QRectF(place), 26, 26);
    }
    m_layer.paintSublayers(painter, height());
}

void IconButton::focusInEvent(QFocusEvent *event)
{
    m_showsFocus = event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason;
    QAbstractButton::focusInEvent(event);
}
