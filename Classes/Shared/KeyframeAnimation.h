#pragma once

#include <QAbstractAnimation>
#include <QPainterPath>
#include <QPointF>

#include <chrono>
#include <vector>

/// A change of one value of a layer, through given values at given times or along a path; linear between them. Owned by
/// the layer it was added to. Main thread.
class KeyframeAnimation final : public QAbstractAnimation
{
    Q_OBJECT

public:
    explicit KeyframeAnimation(std::chrono::milliseconds duration)
        : m_duration(duration)
    {
    }

    /// Of the way there, and back where it reverses.
    int duration() const override { return int(m_duration.count()) * (m_doesAutoreverse ? 2 : 1); }

    /// Whether it runs the same way back each time, in the same time again. No, unless set.
    void setAutoreverses(bool doReverse) { m_doesAutoreverse = doReverse; }
    bool autoreverses() const { return m_doesAutoreverse; }

    /// The way of a point, in the layer's coordinates. Each of its lines and curves takes the same share of the time.
    void setPath(const QPainterPath &path) { m_path = path; }
    const QPainterPath &path() const { return m_path; }

    /// `keyTimes`: rising shares of the duration from 0 to 1, one for each of `values`.
    void setKeyframes(std::vector<double> keyTimes, std::vector<double> values);
    const std::vector<double> &keyTimes() const { return m_keyTimes; }
    const std::vector<double> &values() const { return m_values; }

    /// Whether the layer lets go of the animation when it has run to its end. Yes, unless set.
    void setRemovedOnCompletion(bool removed) { m_isRemovedOnCompletion = removed; }
    bool isRemovedOnCompletion() const { return m_isRemovedOnCompletion; }

    /// The point of the path, or the value, at the current time.
    QPointF point() const;
    double value() const;

Q_SIGNALS:
    void progressed();

    /// Sent once when the animation stops: `finished` when it has run to its end.
    void didStop(KeyframeAnimation *animation, bool finished);

protected:
    void updateCurrentTime(int currentTime) override;
    void updateState(State newState, State oldState) override;

private:
    double progress() const;

    std::chrono::milliseconds m_duration;
    QPainterPath m_path;
    std::vector<double> m_keyTimes;
    std::vector<double> m_values;
    bool m_isRemovedOnCompletion = true;
    bool m_doesAutoreverse = false;
};
