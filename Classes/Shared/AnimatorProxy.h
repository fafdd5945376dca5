#pragma once

#include <QRect>

#include <chrono>

class QPropertyAnimation;
class QWidget;

/// Changes of a view's frame, at once or over time. A view has one frame animation at most: the newer change ends the
/// older one where it is. Main thread.
namespace AnimatorProxy {

inline constexpr std::chrono::milliseconds kDefaultDuration{250};

/// Moves the view to `frame` within the default duration and answers the animation, which the view owns and which is
/// gone when it has ended.
QPropertyAnimation *animateFrame(QWidget *view, const QRect &frame);

/// Sets the frame at once; an animation under way is ended.
void setFrame(QWidget *view, const QRect &frame);

/// The animation under way, or nullptr.
QPropertyAnimation *frameAnimation(const QWidget *view);

} // namespace AnimatorProxy
