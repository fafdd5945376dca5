#pragma once

#include "Classes/PrefPane/TextFieldCell.h"

/// Draws a count of saved bytes as a size, "-" for none.
namespace PXSavingsCell {

CellText layout(const QRectF &frame, const CellContext &context, double textHeight, EllipsizedTexts &texts);

void drawInteriorWithFrame(const QRectF &frame, const CellContext &context, EllipsizedTexts &texts, QPainter &painter);

} // namespace PXSavingsCell
