#include "Host/HostStyle.h"

#include "Host/HostAppearance.h"

#include <QPainter>
#include <QStyleOption>

static constexpr double kFieldRadius = 2;

static bool isField(QStyle::PrimitiveElement element)
{
    return element == QStyle::PE_FrameLineEdit || element == QStyle::PE_IndicatorCheckBox;
}

HostStyle::HostStyle()
    : QProxyStyle(QStringLiteral("Fusion"))
{
}

void HostStyle::drawPrimitive(PrimitiveElement element, const QStyleOption *option, QPainter *painter,
                              const QWidget *widget) const
{
    QProxyStyle::drawPrimitive(element, option, painter, widget);
    // A field with the keys has its edge in the colour of the highlight.
    const bool hasKeys = option->state & State_HasFocus && element == PE_FrameLineEdit;
    if (!isField(element) || hasKeys || !HostAppearance::isDark(option->palette))
        return;
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(option->palette.color(QPalette::Disabled, QPalette::WindowText));
    painter->drawRoundedRect(QRectF(option->rect).adjusted(0.5, 0.5, -0.5, -0.5), kFieldRadius, kFieldRadius);
    painter->restore();
}
