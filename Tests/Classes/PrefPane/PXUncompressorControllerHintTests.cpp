#include "Tests/Classes/PrefPane/UncompressorDragFixture.h"

using PXUncompressorControllerHintTest = UncompressorDragFixture;

TEST_F(PXUncompressorControllerHintTest, dragOver_animatesTheHintWithTwoPeriods)
{
    EXPECT_EQ(enter(), Qt::CopyAction);
    EXPECT_TRUE(uncompressor->animatingDragInfoImage());
    EXPECT_TRUE(hint->isVisible());
    EXPECT_FALSE(hint->layer().masksToBounds());
    EXPECT_EQ(alphaOfLabel(), 0.0);

    KeyframeAnimation *const fading = hint->layer().animation(QStringLiteral("opacity"));
    KeyframeAnimation *const moving = hint->layer().animation(QStringLiteral("position"));
    for (KeyframeAnimation *const animation : {fading, moving}) {
        ASSERT_NE(animation, nullptr);
        EXPECT_TRUE(animation->autoreverses());
        EXPECT_EQ(animation->loopCount(), -1);
        animation->pause();
    }
    fading->setCurrentTime(0);
    EXPECT_DOUBLE_EQ(hint->layer().presentedOpacity(), 0.7);
    fading->setCurrentTime(400);
    EXPECT_DOUBLE_EQ(hint->layer().presentedOpacity(), 1.0);
    fading->setCurrentTime(600);
    EXPECT_DOUBLE_EQ(hint->layer().presentedOpacity(), 0.85);
    fading->setCurrentTime(1600);
    EXPECT_DOUBLE_EQ(hint->layer().presentedOpacity(), 0.7);
    moving->setCurrentTime(0);
    EXPECT_EQ(hint->layer().presentedPosition(), QPointF(0, -2));
    moving->setCurrentTime(300);
    EXPECT_EQ(hint->layer().presentedPosition(), QPointF(0, 3));
    moving->setCurrentTime(600);
    EXPECT_EQ(hint->layer().presentedPosition(), QPointF(0, -2));
}

TEST_F(PXUncompressorControllerHintTest, secondDragOver_leavesTheAnimationAsItIs)
{
    enter();
    const KeyframeAnimation *const first = hint->layer().animation(QStringLiteral("opacity"));
    enter();
    EXPECT_EQ(hint->layer().animation(QStringLiteral("opacity")), first);
}

TEST_F(PXUncompressorControllerHintTest, dragThatLeaves_bringsLabelAndIconBack)
{
    enter();
    box->draggingExited(nullptr);
    EXPECT_FALSE(uncompressor->animatingDragInfoImage());
    EXPECT_FALSE(hint->isVisible());
    EXPECT_EQ(hint->layer().animation(QStringLiteral("opacity")), nullptr);
    EXPECT_EQ(hint->layer().animation(QStringLiteral("position")), nullptr);
    EXPECT_EQ(alphaOfLabel(), 1.0);
    for (QLabel *const each : box->findChildren<QLabel *>()) {
        endFading(each);
        EXPECT_EQ(AnimatorProxy::alphaValue(each), 1.0);
    }
}
