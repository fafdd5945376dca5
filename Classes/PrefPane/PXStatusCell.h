#pragma once

#include "Classes/PrefPane/TextFieldCell.h"

#include <QPainterPath>

#include <optional>

/// Draws the progress of a folder, 0 to 100, as a ring that fills like a pie and gets a check mark at the end; "OFF"
/// where the helper is not active, and nothing for a disabled row.
namespace PXStatusCell {

struct Shape
{
    QPainterPath path;
    NamedColor color;
};

struct Layout
{
    std::optional<CellText> off; ///< "OFF"; then there is nothing else
    std::optional<Shape> ring;   ///< a line as wide as lines are
    std::optional<Shape> pie;    ///< filled
    std::optional<Shape> check;  ///< a line two points wide
};

Layout layout(const QRectF &frame, const CellContext &context, const MeasureText &measure);

void drawInteriorWithFrame(const QRectF &frame, const CellContext &context, EllipsizedTexts &texts, QPainter &painter);

} // namespace PXStatusCell
