#include "Classes/PrefPane/PXPathCell.h"

#include "Classes/Shared/DVellipsis.h"

#include <cmath>

CellText PXPathCell::layout(const QRectF &frame, const CellContext &context, double textHeight,
                            const MeasureText &measure)
{
    const TextAttributes attributes = TextFieldCell::attributes(TextFieldCell::pathColor(context), context);
    const double top = frame.y() + std::floor((frame.height() - textHeight) / 2);
    return {mutableEllipsizedStringFrom(context.stringValue, attributes, float(frame.width()), measure),
            {frame.x() + 1, top, frame.width(), frame.height()}};
}

void PXPathCell::drawInteriorWithFrame(const QRectF &frame, const CellContext &context, QPainter &painter)
{
    layout(frame, context, TextFieldCell::textHeight()).draw(painter);
}
