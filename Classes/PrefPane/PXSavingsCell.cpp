#include "Classes/PrefPane/PXSavingsCell.h"

#include "Classes/PrefPane/PXSizeToPrettySizeTransformer.h"

#include <cmath>

CellText PXSavingsCell::layout(const QRectF &frame, const CellContext &context, double textHeight,
                               EllipsizedTexts &texts)
{
    const QString size = PXSizeToPrettySizeTransformer().transformedValue(context.objectValue);
    const TextAttributes attributes = TextFieldCell::attributes(TextFieldCell::textColor(context), context);
    const AttributedString text = texts.shortened(size, attributes, float(frame.width()));
    const double left = frame.x() + std::floor((frame.width() - texts.measure()(text)) / 2);
    const double top = frame.y() + std::floor((frame.height() - textHeight) / 2);
    return {text, {left, top, frame.width(), frame.height()}};
}

void PXSavingsCell::drawInteriorWithFrame(const QRectF &frame, const CellContext &context, EllipsizedTexts &texts,
                                          QPainter &painter)
{
    layout(frame, context, TextFieldCell::textHeight(), texts).draw(painter);
}
