#include "Classes/Shared/AnimatorProxy.h"

#include <QCoreApplication>
#include <QGraphicsEffect>
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

TEST(AnimatorProxy, animateAlpha_fadesAndComesBack)
{
    QWidget view;
    EXPECT_EQ(AnimatorProxy::alphaValue(&view), 1.0);
    QPropertyAnimation *const out = AnimatorProxy::animateAlpha(&view, 0);
    EXPECT_EQ(out->duration(), 250);
    out->pause();
    out->setCurrentTime(125);
    EXPECT_NEAR(AnimatorProxy::alphaValue(&view), 0.5, 0.01);

    QPropertyAnimation *const back = AnimatorProxy::animateAlpha(&view, 1);
    EXPECT_EQ(AnimatorProxy::alphaAnimation(&view), back) << "the older one was ended";
    EXPECT_NEAR(AnimatorProxy::alphaValue(&view), 0.5, 0.01) << "from where it was";
    back->setCurrentTime(250);
    EXPECT_EQ(AnimatorProxy::alphaValue(&view), 1.0);
    ASSERT_NE(view.graphicsEffect(), nullptr);
    EXPECT_FALSE(view.graphicsEffect()->isEnabled()) << "what is opaque is drawn directly";
}
