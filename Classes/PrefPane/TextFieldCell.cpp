#include "Classes/PrefPane/TextFieldCell.h"

#include <QFontMetricsF>

void CellText::draw(QPainter &painter) const
{
    QPointF corner = rect.topLeft();
    qsizetype start = 0;
    painter.save();
    painter.setClipRect(rect, Qt::IntersectClip);
    for (const AttributedString::Run &run : text.runs()) {
        const QFontMetricsF metrics(run.attributes.font);
        const QString part = text.text().mid(start, run.length);
        painter.setFont(run.attributes.font);
        painter.setPen(run.attributes.color);
        painter.drawText(QPointF(corner.x(), corner.y() + metrics.ascent()), part);
        corner.rx() += metrics.horizontalAdvance(part);
        start += run.length;
    }
    painter.restore();
}

QFont TextFieldCell::font()
{
    static const QFont font = [] {
        QFont made(QStringLiteral("Lucida Grande"));
        made.setPixelSize(11); // a point is a device-independent pixel
        return made;
    }();
    return font;
}

double TextFieldCell::textHeight()
{
    return QFontMetricsF(font()).height();
}

NamedColor TextFieldCell::textColor(const CellContext &context)
{
    if (context.isHighlighted)
        return NamedColor::AlternateSelectedControlText;
    return context.isEnabled ? NamedColor::ControlText : NamedColor::Gray;
}

NamedColor TextFieldCell::pathColor(const CellContext &context)
{
    const NamedColor color = textColor(context);
    return color == NamedColor::ControlText && context.isMissing ? NamedColor::Red : color;
}

TextAttributes TextFieldCell::attributes(NamedColor color, const CellContext &context)
{
    return {font(), colorNamed(color, context.palette, context.isHighlighted)};
}
