#pragma once

#include "Classes/PrefPane/TextFieldCell.h"

/// Draws a whole path, or the sentence that stands in its place.
namespace PXPathCell {

CellText layout(const QRectF &frame, const CellContext &context, double textHeight, EllipsizedTexts &texts);

void drawInteriorWithFrame(const QRectF &frame, const CellContext &context, EllipsizedTexts &texts, QPainter &painter);

} // namespace PXPathCell
