#pragma once

#include <QProxyStyle>

/// Fusion with edges of text fields and check boxes that can be seen on a dark window: its own are darker than the
/// window whatever the palette says. On a light one it draws as Fusion does.
class HostStyle final : public QProxyStyle
{
public:
    HostStyle();

    void drawPrimitive(PrimitiveElement element, const QStyleOption *option, QPainter *painter,
                       const QWidget *widget) const override;
};
