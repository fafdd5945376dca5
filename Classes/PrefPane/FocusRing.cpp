#include "Classes/PrefPane/FocusRing.h"

#include <QFocusEvent>
#include <QPainter>

static constexpr double kWidth = 2;

FocusRing::FocusRing(QWidget *widget)
    : QWidget(widget)
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
    hide();
    widget->installEventFilter(this);
}

bool FocusRing::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::FocusIn) {
        const Qt::FocusReason reason = static_cast<QFocusEvent *>(event)->reason();
        setGeometry(parentWidget()->rect());
        setVisible(reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason);
        raise();
    } else if (event->type() == QEvent::FocusOut) {
        hide();
    } else if (event->type() == QEvent::Resize) {
        setGeometry(parentWidget()->rect());
    }
    return QWidget::eventFilter(watched, event);
}

void FocusRing::paintEvent(QPaintEvent *)
{
    drawIn(*this);
}

void FocusRing::drawIn(QWidget &widget)
{
    QPainter painter(&widget);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(widget.palette().color(QPalette::Active, QPalette::Highlight), kWidth));
    const double inset = kWidth / 2;
    painter.drawRoundedRect(QRectF(widget.rect()).adjusted(inset, inset, -inset, -inset), kWidth, kWidth);
}
