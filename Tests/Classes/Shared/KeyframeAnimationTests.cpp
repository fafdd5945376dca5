#include "Classes/Shared/KeyframeAnimation.h"

#include <gtest/gtest.h>

using namespace std::chrono_literals;

namespace {

struct Ends
{
    std::vector<bool> finished;

    void observe(KeyframeAnimation &animation)
    {
        QObject::connect(&animation, &KeyframeAnimation::didStop,
                         [this](KeyframeAnimation *, bool isFinished) { finished.push_back(isFinished); });
    }
};

void seek(KeyframeAnimation &animation, int milliseconds)
{
    animation.start();
    animation.pause();
    animation.setCurrentTime(milliseconds);
}

} // namespace

TEST(KeyframeAnimation, value_betweenKeyTimes_isLinear)
{
    KeyframeAnimation animation(400ms);
    animation.setKeyframes({0, 0.5, 1}, {10, 20, 0});
    const std::pair<int, double> expected[] = {{0, 10}, {100, 15}, {200, 20}, {300, 10}};
    for (const auto &[time, value] : expected) {
        seek(animation, time);
        EXPECT_DOUBLE_EQ(animation.value(), value) << time;
    }
}

TEST(KeyframeAnimation, value_withoutKeyframes_isZero)
{
    KeyframeAnimation animation(100ms);
    seek(animation, 50);
    EXPECT_EQ(animation.value(), 0);
    EXPECT_EQ(animation.point(), QPointF());
}

TEST(KeyframeAnimation, point_givesEachSegmentTheSameTime)
{
    QPainterPath path({0, 0});
    path.lineTo(100, 0);
    path.lineTo(100, 10);
    KeyframeAnimation animation(200ms);
    animation.setPath(path);
    const std::pair<int, QPointF> expected[] = {{0, {0, 0}}, {50, {50, 0}}, {100, {100, 0}}, {150, {100, 5}}};
    for (const auto &[time, point] : expected) {
        seek(animation, time);
        EXPECT_NEAR(animation.point().x(), point.x(), 1e-6) << time;
        EXPECT_NEAR(animation.point().y(), point.y(), 1e-6) << time;
    }
}

TEST(KeyframeAnimation, runToTheEnd_stopsFinishedOnce)
{
    KeyframeAnimation animation(300ms);
    Ends ends;
    ends.observe(animation);
    seek(animation, 300);
    EXPECT_EQ(animation.state(), QAbstractAnimation::Stopped);
    EXPECT_EQ(ends.finished, std::vector{true});
    animation.stop();
    EXPECT_EQ(ends.finished.size(), 1u);
}

TEST(KeyframeAnimation, interrupted_stopsUnfinished)
{
    KeyframeAnimation animation(300ms);
    Ends ends;
    ends.observe(animation);
    seek(animation, 299);
    animation.stop();
    EXPECT_EQ(ends.finished, std::vector{false});
}

TEST(KeyframeAnimation, reversing_goesBackInTheSameTimeAgain)
{
    KeyframeAnimation animation(400ms);
    animation.setKeyframes({0, 1}, {10, 20});
    animation.setAutoreverses(true);
    animation.setLoopCount(-1);
    EXPECT_EQ(animation.duration(), 800);
    animation.start();
    animation.pause();
    for (const auto &[time, value] :
         {std::pair(0, 10.0), {100, 12.5}, {400, 20.0}, {500, 17.5}, {800, 10.0}, {900, 12.5}}) {
        animation.setCurrentTime(time);
        EXPECT_DOUBLE_EQ(animation.value(), value) << time;
    }
}
