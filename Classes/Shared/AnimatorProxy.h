#pragma once

#include <QRect>

#include <chrono>

class QPropertyAnimation;
class QWidget;

/// Changes of a view's frame and of its alpha, at once or over time. A view has one animation of each at most: the
/// newer change ends the older one where it is. Main thread.
namespace AnimatorProxy {

inline constexpr std::chrono::milliseconds kDefaultDuration{250};

/// Moves the view to `frame` within the default duration and answers the animation, which the view owns and which is
/// gone when it has ended.
QPropertyAnimation *animateFrame(QWidget *view, const QRect &frame);

/// Sets the frame at once; an animation under way is ended.
void setFrame(QWidget *view, const QRect &frame);

/// The animation under way, or nullptr.
QPropertyAnimation *frameAnimation(const QWidget *view);

/// Fades the view to `alpha`, 0 to 1, within the default duration and answers the animation, as `animateFrame` does.
QPropertyAnimation *animateAlpha(QWidget *view, double alpha);

/// How opaque the view is now: 1 unless it was ever faded.
double alphaValue(const QWidget *view);

/// The fading under way, or nullptr.
QPropertyAnimation *alphaAnimation(const QWidget *view);

} // namespace AnimatorProxy
