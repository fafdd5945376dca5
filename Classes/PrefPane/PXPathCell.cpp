#include "Classes/PrefPane/PXPathCell.h"

#include <cmath>

CellText PXPathCell::layout(const QRectF &frame, const CellContext &context, double textHeight, EllipsizedTexts &texts)
{
    const TextAttributes attributes = TextFieldCell::attributes(TextFieldCell::pathColor(context), context);
    const double top = frame.y() + std::floor((frame.height() - textHeight) / 2);
    return {texts.shortened(context.stringValue, attributes, float(frame.width())),
            {frame.x() + 1, top, frame.width(), frame.height()}};
}

void PXPathCell::drawInteriorWithFrame(const QRectF &frame, const CellContext &context, EllipsizedTexts &texts,
                                       QPainter &painter)
{
    layout(frame, context, TextFieldCell::textHeight(), texts).draw(painter);
}
