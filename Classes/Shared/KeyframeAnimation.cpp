#include "Classes/Shared/KeyframeAnimation.h"

#include <algorithm>
#include <cmath>

void KeyframeAnimation::setKeyframes(std::vector<double> keyTimes, std::vector<double> values)
{
    m_keyTimes = std::move(keyTimes);
    m_values = std::move(values);
}

double KeyframeAnimation::progress() const
{
    if (m_duration.count() <= 0)
        return 1;
    const double way = currentLoopTime() / double(m_duration.count());
    return std::clamp(m_doesAutoreverse && way > 1 ? 2 - way : way, 0.0, 1.0);
}

/// The point at `share` (0 to 1) of the segment that ends the elements `[first, next)`, which starts at `from`.
static QPointF pointOfSegment(const QPainterPath &path, int first, QPointF from, double share)
{
    QPainterPath segment(from);
    const QPainterPath::Element end = path.elementAt(first);
    if (end.isCurveTo())
        segment.cubicTo(end, path.elementAt(first + 1), path.elementAt(first + 2));
    else
        segment.lineTo(end);
    return segment.pointAtPercent(segment.percentAtLength(share * segment.length()));
}

QPointF KeyframeAnimation::point() const
{
    std::vector<int> segments;
    for (int i = 1; i < m_path.elementCount(); ++i) {
        const QPainterPath::Element element = m_path.elementAt(i);
        if (element.isCurveTo() || element.isLineTo())
            segments.push_back(i);
    }
    if (segments.empty())
        return m_path.currentPosition();
    const double place = progress() * double(segments.size());
    const std::size_t index = std::min(std::size_t(place), segments.size() - 1);
    return pointOfSegment(m_path, segments[index], m_path.elementAt(segments[index] - 1), place - double(index));
}

double KeyframeAnimation::value() const
{
    if (m_values.empty())
        return 0;
    const double now = progress();
    const auto after = std::upper_bound(m_keyTimes.begin(), m_keyTimes.end(), now);
    const auto next = std::size_t(after - m_keyTimes.begin());
    if (next == 0)
        return m_values.front();
    if (next >= m_values.size())
        return m_values.back();
    const double share = (now - m_keyTimes[next - 1]) / (m_keyTimes[next] - m_keyTimes[next - 1]);
    return std::lerp(m_values[next - 1], m_values[next], share);
}

void KeyframeAnimation::updateCurrentTime(int)
{
    Q_EMIT progressed();
}

void KeyframeAnimation::updateState(State newState, State oldState)
{
    if (newState == Stopped && oldState != Stopped)
        Q_EMIT didStop(this, currentTime() >= totalDuration() && totalDuration() >= 0);
}
