#pragma once

#include <QPointF>
#include <QRect>
#include <QRectF>

/// Frames and points are given with their origin at the bottom left of the view they lie in; widgets and painters count
/// from the top. This is the one place where the one becomes the other (the mapping is its own inverse).
namespace BottomLeft {

inline QPointF toTopLeft(const QPointF &point, double superviewHeight)
{
    return {point.x(), superviewHeight - point.y()};
}

inline QRectF toTopLeft(const QRectF &frame, double superviewHeight)
{
    return {frame.x(), superviewHeight - frame.y() - frame.height(), frame.width(), frame.height()};
}

} // namespace BottomLeft
