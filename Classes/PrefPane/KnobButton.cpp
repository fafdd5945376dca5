#include "Classes/PrefPane/KnobButton.h"

#include "Classes/PrefPane/PaneColors.h"

#include <QPainter>

KnobButton::KnobButton(QWidget *parent)
    : QAbstractButton(parent)
{
    setCheckable(true);
    setFocusPolicy(Qt::StrongFocus);
}

void KnobButton::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF frame = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -1.5);
    const double radius = frame.height() / 2;
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0, 0, 0, 60));
    painter.drawRoundedRect(frame.translated(0, 1), radius, radius);

    // Lighter than the track in either scheme.
    const QColor top = blended(palette().color(QPalette::Button), Qt::white, isDark(palette()) ? 0.72 : 0.9);
    QLinearGradient surface(frame.topLeft(), frame.bottomLeft());
    surface.setColorAt(0, top);
    surface.setColorAt(1, blended(top, Qt::black, isDown() ? 0.2 : 0.09));
    painter.setBrush(surface);
    painter.setPen(QColor(0, 0, 0, 70));
    painter.drawRoundedRect(frame, radius, radius);

    painter.setPen(QPen(QColor(0, 0, 0, 70), 1));
    for (const double offset : {-4.0, 0.0, 4.0}) {
        const double x = std::round(frame.center().x() + offset) + 0.5;
        painter.drawLine(QPointF(x, frame.center().y() - 4), QPointF(x, frame.center().y() + 4));
    }
}
