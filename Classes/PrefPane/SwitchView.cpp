#include "Classes/PrefPane/SwitchView.h"

#include "Classes/PrefPane/PaneColors.h"
#include "Classes/Shared/BottomLeft.h"

#include <QAbstractButton>
#include <QEvent>
#include <QMouseEvent>
#include <QPainter>

#include <algorithm>

// The knob slides from 89 to 142 and is 40 by 25 at the height of 86; the track leaves two points around it.
static constexpr QRectF kTrack(87, 84, 97, 29);
static constexpr double kKnobOff = 89;
static constexpr double kKnobWay = 142 - 89;

SwitchView::SwitchView(QWidget *parent)
    : QWidget(parent)
{
}

void SwitchView::setKnob(QAbstractButton *knob)
{
    m_knob = knob;
    knob->installEventFilter(this);
}

QSize SwitchView::sizeHint() const
{
    return {kTrack.toRect().right() + 6, 148};
}

bool SwitchView::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Move || event->type() == QEvent::FocusIn || event->type() == QEvent::FocusOut)
        update();
    return QWidget::eventFilter(watched, event);
}

QRectF SwitchView::track() const
{
    return BottomLeft::toTopLeft(kTrack, height());
}

double SwitchView::shareOn() const
{
    return m_knob ? std::clamp((m_knob->x() - kKnobOff) / kKnobWay, 0.0, 1.0) : 0;
}

void SwitchView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const double on = shareOn();
    const QRectF frame = track().adjusted(0.5, 0.5, -0.5, -0.5);
    const double radius = frame.height() / 2;
    const QColor off = blended(palette().color(QPalette::Window), palette().color(QPalette::WindowText), 0.22);
    const QColor fill = blended(off, palette().color(QPalette::Highlight), on);
    painter.setPen(blended(fill, palette().color(QPalette::WindowText), 0.25));
    painter.setBrush(fill);
    painter.drawRoundedRect(frame, radius, radius);
    if (m_knob && m_knob->hasFocus()) {
        painter.setPen(QPen(palette().color(QPalette::Highlight), 2));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(frame.adjusted(-2.5, -2.5, 2.5, 2.5), radius + 2.5, radius + 2.5);
    }
    const QRectF left(frame.left(), frame.top(), kKnobWay + 2, frame.height());
    const QRectF right(frame.right() - kKnobWay - 2, frame.top(), kKnobWay + 2, frame.height());
    paintWord(painter, left, tr("ON"), palette().color(QPalette::HighlightedText), on);
    paintWord(painter, right, tr("OFF"), palette().color(QPalette::WindowText), 1 - on);
}

void SwitchView::paintWord(QPainter &painter, const QRectF &place, const QString &word, const QColor &color,
                           double opacity)
{
    QFont font = this->font();
    font.setPixelSize(11);
    font.setBold(true);
    painter.setFont(font);
    painter.setPen(color);
    painter.setOpacity(opacity);
    painter.drawText(place, Qt::AlignCenter, word);
    painter.setOpacity(1);
}

void SwitchView::mousePressEvent(QMouseEvent *event)
{
    m_isPressed = event->button() == Qt::LeftButton && track().contains(event->position());
    event->setAccepted(m_isPressed);
}

void SwitchView::mouseReleaseEvent(QMouseEvent *event)
{
    if (m_isPressed && track().contains(event->position()))
        Q_EMIT clicked();
    m_isPressed = false;
}
