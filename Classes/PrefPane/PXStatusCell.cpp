#include "Classes/PrefPane/PXStatusCell.h"

#include <algorithm>
#include <cmath>

static constexpr double kRadius = 8;
static constexpr quint32 kWhole = 100;
static constexpr double kDegreesAPercent = 3.6;
static constexpr double kTop = -25; // where the pie begins, in percent: straight up
static constexpr double kCheckWidth = 2;

static QRectF discAround(QPointF centre)
{
    return {centre.x() - kRadius, centre.y() - kRadius, 2 * kRadius, 2 * kRadius};
}

static QPainterPath ringAround(QPointF centre)
{
    QPainterPath path;
    path.addEllipse(discAround(centre));
    return path;
}

/// From straight up clockwise, as far as the percentage says.
static QPainterPath pieAround(QPointF centre, quint32 percent)
{
    const float end = float((double(percent) + kTop) * kDegreesAPercent);
    const double start = kTop * kDegreesAPercent;
    QPainterPath path(centre);
    path.lineTo(centre.x(), centre.y() - kRadius);
    path.arcTo(discAround(centre), -start, -(double(end) - start)); // arcTo counts against the clock
    path.closeSubpath();
    return path;
}

static QPainterPath checkMarkAround(QPointF centre)
{
    QPainterPath path(centre + QPointF(-4, -1));
    path.lineTo(centre + QPointF(-1, 3));
    path.lineTo(centre + QPointF(4, -4));
    return path;
}

static CellText off(const QRectF &frame, const CellContext &context, const MeasureText &measure)
{
    const NamedColor color = context.isHighlighted ? NamedColor::White : NamedColor::Black;
    const AttributedString text(QStringLiteral("OFF"), TextFieldCell::attributes(color, context));
    const double width = measure(text);
    // The width stands for the height too, which lifts the word to the middle of the ring's place.
    return {text,
            {frame.x() + std::floor((frame.width() - width) / 2),
             frame.y() + std::floor((frame.height() - width) / 2) + 4, frame.width(), frame.height()}};
}

PXStatusCell::Layout PXStatusCell::layout(const QRectF &frame, const CellContext &context, const MeasureText &measure)
{
    const quint32 percent = std::min(quint32(context.objectValue), kWhole);
    NamedColor color = context.isHighlighted ? NamedColor::White : NamedColor::AlternateSelectedControl;
    if (!context.isHighlighted && !context.isEnabled)
        return {};
    Layout layout;
    if (!context.state) {
        layout.off = off(frame, context, measure);
        return layout;
    }
    if (percent == kWhole && color == NamedColor::AlternateSelectedControl)
        color = NamedColor::SelectedControl;
    const QPointF centre(frame.x() + std::floor(frame.width() / 2), frame.y() + std::floor(frame.height() / 2));
    layout.ring = {ringAround(centre), color};
    if (percent > 0)
        layout.pie = {pieAround(centre, percent), color};
    if (percent == kWhole)
        layout.check = {checkMarkAround(centre),
                        color == NamedColor::SelectedControl ? NamedColor::White : NamedColor::Black};
    return layout;
}

void PXStatusCell::drawInteriorWithFrame(const QRectF &frame, const CellContext &context, EllipsizedTexts &texts,
                                         QPainter &painter)
{
    const Layout layout = PXStatusCell::layout(frame, context, texts.measure());
    const auto color = [&context](const Shape &shape) {
        return colorNamed(shape.color, context.palette, context.isHighlighted);
    };
    // Lines as thin as the ring get coarse where the toolkit draws them as such.
    const auto stroke = [&](const Shape &shape, const QPen &pen) {
        painter.fillPath(QPainterPathStroker(pen).createStroke(shape.path), color(shape));
    };
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    if (layout.off)
        layout.off->draw(painter);
    if (layout.ring)
        stroke(*layout.ring, QPen(Qt::SolidPattern, 1));
    if (layout.pie)
        painter.fillPath(layout.pie->path, color(*layout.pie));
    if (layout.check)
        stroke(*layout.check, QPen(Qt::SolidPattern, kCheckWidth, Qt::SolidLine, Qt::FlatCap, Qt::MiterJoin));
    painter.restore();
}
