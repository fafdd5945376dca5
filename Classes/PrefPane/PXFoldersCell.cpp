#include "Classes/PrefPane/PXFoldersCell.h"

#include "Classes/Shared/LastPathComponentCompare.h"

#include <cmath>

static constexpr double kTextInset = 34;
static constexpr double kIconLeft = 4; // from the edge of the table, whichever column this is
static constexpr double kIconSide = 24;
static constexpr double kIconRise = 6;

PXFoldersCell::Layout PXFoldersCell::layout(const QRectF &frame, const CellContext &context, double textHeight,
                                            EllipsizedTexts &texts)
{
    const TextAttributes attributes = TextFieldCell::attributes(TextFieldCell::pathColor(context), context);
    const double top = frame.y() + std::floor((frame.height() - std::trunc(textHeight)) / 2);
    const float textWidth = float(frame.width() - kTextInset);
    return {{texts.shortened(lastPathComponent(context.stringValue), attributes, textWidth),
             {frame.x() + kTextInset, top, frame.width(), frame.height()}},
            {kIconLeft, top - kIconRise, kIconSide, kIconSide}};
}

void PXFoldersCell::drawInteriorWithFrame(const QRectF &frame, const CellContext &context, EllipsizedTexts &texts,
                                          QPainter &painter)
{
    const Layout layout = PXFoldersCell::layout(frame, context, TextFieldCell::textHeight(), texts);
    layout.name.draw(painter);
    context.icon.paint(&painter, layout.icon.toRect());
}
