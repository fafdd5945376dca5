#include "Classes/PrefPane/PXSavingsCell.h"

#include "Classes/PrefPane/PXSizeToPrettySizeTransformer.h"
#include "Classes/Shared/DVellipsis.h"

#include <cmath>

CellText PXSavingsCell::layout(const QRectF &frame, const CellContext &context, double textHeight,
                               const MeasureText &measure)
{
    const QString size = PXSizeToPrettySizeTransformer().transformedValue(context.objectValue);
    const TextAttributes attributes = TextFieldCell::attributes(TextFieldCell::textColor(context), context);
    const AttributedString text = mutableEllipsizedStringFrom(size, attributes, float(frame.width()), measure);
    const double left = frame.x() + std::floor((frame.width() - measure(text)) / 2);
    const double top = frame.y() + std::floor((frame.height() - textHeight) / 2);
    return {text, {left, top, frame.width(), frame.height()}};
}

void PXSavingsCell::drawInteriorWithFrame(const QRectF &frame, const CellContext &context, QPainter &painter)
{
    layout(frame, context, TextFieldCell::textHeight()).draw(painter);
}
