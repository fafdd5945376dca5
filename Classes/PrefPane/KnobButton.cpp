#include "Classes/PrefPane/KnobButton.h"

#include "Classes/PrefPane/PaneColors.h"

#include <QPainter>

KnobButton::KnobButton(QWidget *parent)
    : QAbstractButton(parent)
{
    setCheckable(true);
    setFocusPolicy(Qt::StrongFocus);
}

QColor KnobButton::shade(int alpha) const
{
    QColor shade = palette().color(QPalette::Shadow);
    shade.setAlpha(alpha);
    return shade;
}

void KnobButton::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF frame = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -1.5);
    const double radius = frame.height() / 2;
    painter.setPen(Qt::NoPen);
    painter.setBrush(shade(90));
    painter.drawRoundedRect(frame.translated(0, 1), radius, radius);

    // Lighter than the track in either scheme.
    const QColor top = blended(palette().color(QPalette::Button), palette().color(QPalette::BrightText),
                               isDark(palette()) ? 0.72 : 0.9);
    QLinearGradient surface(frame.topLeft(), frame.bottomLeft());
    surface.setColorAt(0, top);
    surface.setColorAt(1, blended(top, palette().color(QPalette::Shadow), isDown() ? 0.2 : 0.09));
    painter.setBrush(surface);
    painter.setPen(shade(110));
    painter.drawRoundedRect(frame, radius, radius);

    painter.setPen(QPen(shade(110), 1));
    for (const double offset : {-4.0, 0.0, 4.0}) {
        const double x = std::round(frame.center().x() + offset) + 0.5;
        painter.drawLine(QPointF(x, frame.center().y() - 4), QPointF(x, frame.center().y() + 4));
    }
}
