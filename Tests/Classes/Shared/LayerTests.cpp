#include "Classes/Shared/Layer.h"

#include <QCoreApplication>
#include <QImage>
#include <QPainter>
#include <QPointer>

#include <gtest/gtest.h>

using namespace std::chrono_literals;

namespace {

std::unique_ptr<KeyframeAnimation> fade()
{
    auto animation = std::make_unique<KeyframeAnimation>(300ms);
    animation->setKeyframes({0, 0.75, 1}, {1, 1, 0});
    return animation;
}

QPixmap redPixmap()
{
    QPixmap pixmap(4, 4);
    pixmap.fill(Qt::red);
    return pixmap;
}

/// What a root of 20 by 20 shows.
QImage painted(const Layer &root)
{
    QImage image(20, 20, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::white);
    QPainter painter(&image);
    root.paintSublayers(painter, 20);
    return image;
}

} // namespace

TEST(Layer, addSublayer_knowsItsSuperlayer)
{
    Layer root;
    Layer *const child = root.addSublayer(std::make_unique<Layer>());
    EXPECT_EQ(child->superlayer(), &root);
    ASSERT_EQ(root.sublayers().size(), 1u);
    EXPECT_EQ(root.sublayers().front().get(), child);
}

TEST(Layer, removeFromSuperlayer_takesOnlyThatOne)
{
    Layer root;
    Layer *const first = root.addSublayer(std::make_unique<Layer>());
    Layer *const second = root.addSublayer(std::make_unique<Layer>());
    first->removeFromSuperlayer();
    ASSERT_EQ(root.sublayers().size(), 1u);
    EXPECT_EQ(root.sublayers().front().get(), second);
    root.removeFromSuperlayer();
    EXPECT_EQ(root.sublayers().size(), 1u);
}

TEST(Layer, animation_whileItRuns_givesThePresentedValue)
{
    Layer root;
    Layer *const layer = root.addSublayer(std::make_unique<Layer>());
    layer->setOpacity(0.25);
    EXPECT_EQ(layer->presentedOpacity(), 0.25);
    layer->addAnimation(fade(), QStringLiteral("opacity"));
    layer->animation(QStringLiteral("opacity"))->pause();
    layer->animation(QStringLiteral("opacity"))->setCurrentTime(150);
    EXPECT_EQ(layer->presentedOpacity(), 1);
    EXPECT_EQ(layer->opacity(), 0.25);
}

TEST(Layer, animationAtItsEnd_isRemovedUnlessItIsToStay)
{
    Layer root;
    Layer *const layer = root.addSublayer(std::make_unique<Layer>());
    layer->setOpacity(0);
    layer->addAnimation(fade(), QStringLiteral("gone"));
    auto staying = fade();
    staying->setRemovedOnCompletion(false);
    layer->addAnimation(std::move(staying), QStringLiteral("opacity"));
    for (const char *key : {"gone", "opacity"}) {
        KeyframeAnimation *const animation = layer->animation(QString::fromLatin1(key));
        animation->pause();
        animation->setCurrentTime(300);
    }
    EXPECT_EQ(layer->animation(QStringLiteral("gone")), nullptr);
    ASSERT_NE(layer->animation(QStringLiteral("opacity")), nullptr);
    EXPECT_EQ(layer->presentedOpacity(), 0) << "an animation that has ended decides no more";
}

TEST(Layer, addAnimation_underAKeyInUse_endsTheFormerUnfinished)
{
    Layer layer;
    auto first = fade();
    std::vector<bool> ends;
    QObject::connect(first.get(), &KeyframeAnimation::didStop,
                     [&ends](KeyframeAnimation *, bool finished) { ends.push_back(finished); });
    layer.addAnimation(std::move(first), QStringLiteral("opacity"));
    layer.addAnimation(fade(), QStringLiteral("opacity"));
    EXPECT_EQ(ends, std::vector{false});
}

TEST(Layer, removedByTheEndOfItsOwnAnimation_isSafe)
{
    Layer root;
    Layer *const layer = root.addSublayer(std::make_unique<Layer>());
    auto animation = fade();
    const QPointer<KeyframeAnimation> kept = animation.get();
    QObject::connect(animation.get(), &KeyframeAnimation::didStop, [layer] { layer->removeFromSuperlayer(); });
    layer->addAnimation(std::move(animation), QStringLiteral("opacity"));
    kept->pause();
    kept->setCurrentTime(300);
    EXPECT_TRUE(root.sublayers().empty());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(kept.isNull());
}

TEST(Layer, needsDisplay_isToldToTheRoot)
{
    Layer root;
    int asked = 0;
    root.setNeedsDisplayHandler([&asked] { ++asked; });
    Layer *const layer = root.addSublayer(std::make_unique<Layer>());
    const int before = asked;
    layer->setPosition({1, 1});
    EXPECT_GT(asked, before);
}

TEST(Layer, paintSublayers_countsFromTheBottomLeft)
{
    Layer root;
    Layer *const layer = root.addSublayer(std::make_unique<Layer>());
    layer->setContents(redPixmap());
    layer->setBounds({0, 0, 4, 4});
    layer->setPosition({2, 2});
    const QImage seen = painted(root);
    EXPECT_EQ(seen.pixelColor(1, 18), QColor(Qt::red));
    EXPECT_EQ(seen.pixelColor(1, 1), QColor(Qt::white));
    layer->setOpacity(0);
    EXPECT_EQ(painted(root).pixelColor(1, 18), QColor(Qt::white));
}

TEST(Layer, masksToBounds_cutsOffWhatSublayersDrawOutside)
{
    Layer root;
    Layer *const holder = root.addSublayer(std::make_unique<Layer>());
    holder->setBounds({0, 0, 4, 4});
    holder->setPosition({10, 10});
    Layer *const child = holder->addSublayer(std::make_unique<Layer>());
    child->setContents(redPixmap());
    child->setBounds({0, 0, 12, 12});
    child->setPosition({2, 2});
    EXPECT_EQ(painted(root).pixelColor(5, 10), QColor(Qt::red));
    holder->setMasksToBounds(true);
    EXPECT_EQ(painted(root).pixelColor(5, 10), QColor(Qt::white));
    EXPECT_EQ(painted(root).pixelColor(10, 10), QColor(Qt::red));
}
