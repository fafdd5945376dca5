#include "Classes/Shared/AnimatorProxy.h"

#include <QCoreApplication>
#include <QPointer>
#include <QPropertyAnimation>
#include <QWidget>

#include <gtest/gtest.h>

static constexpr QRect kFrom(89, 20, 40, 25);
static constexpr QRect kTo(142, 20, 40, 25);

TEST(AnimatorProxy, animateFrame_reachesTheFrameAfterAQuarterSecond)
{
    QWidget view;
    view.setGeometry(kFrom);
    QPropertyAnimation *const animation = AnimatorProxy::animateFrame(&view, kTo);
    EXPECT_EQ(animation->duration(), 250);
    EXPECT_EQ(animation->state(), QAbstractAnimation::Running);
    animation->pause();
    animation->setCurrentTime(125);
    EXPECT_GT(view.x(), kFrom.x());
    EXPECT_LT(view.x(), kTo.x());
    animation->setCurrentTime(250);
    EXPECT_EQ(view.geometry(), kTo);
}

TEST(AnimatorProxy, animationAtItsEnd_isGone)
{
    QWidget view;
    const QPointer<QPropertyAnimation> animation = AnimatorProxy::animateFrame(&view, kTo);
    EXPECT_EQ(AnimatorProxy::frameAnimation(&view), animation);
    animation->pause();
    animation->setCurrentTime(250);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(animation.isNull());
    EXPECT_EQ(AnimatorProxy::frameAnimation(&view), nullptr);
}

TEST(AnimatorProxy, setFrame_endsAnAnimationUnderWay)
{
    QWidget view;
    view.setGeometry(kFrom);
    const QPointer<QPropertyAnimation> animation = AnimatorProxy::animateFrame(&view, kTo);
    AnimatorProxy::setFrame(&view, kFrom);
    EXPECT_TRUE(animation.isNull());
    EXPECT_EQ(view.geometry(), kFrom);
}

TEST(AnimatorProxy, animateFrame_again_startsFromWhereTheViewIs)
{
    QWidget view;
    view.setGeometry(kFrom);
    QPropertyAnimation *const first = AnimatorProxy::animateFrame(&view, kTo);
    first->pause();
    first->setCurrentTime(125);
    const int halfWay = view.x();
    const QPropertyAnimation *const second = AnimatorProxy::animateFrame(&view, kFrom);
    EXPECT_EQ(view.x(), halfWay);
    EXPECT_EQ(second->endValue().toRect(), kFrom);
    EXPECT_EQ(view.findChildren<QPropertyAnimation *>().size(), 1);
}
