#pragma once

#include "Classes/PrefPane/TextFieldCell.h"

/// Draws a folder as the icon and the last component of its path.
namespace PXFoldersCell {

struct Layout
{
    CellText name;
    QRectF icon;
};

Layout layout(const QRectF &frame, const CellContext &context, double textHeight, EllipsizedTexts &texts);

void drawInteriorWithFrame(const QRectF &frame, const CellContext &context, EllipsizedTexts &texts, QPainter &painter);

} // namespace PXFoldersCell
