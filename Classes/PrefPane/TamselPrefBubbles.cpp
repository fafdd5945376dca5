#include "Classes/PrefPane/TamselPref.h"

#include "Classes/PrefPane/IconButton.h"
#include "Classes/Shared/KeyframeAnimation.h"
#include "Classes/Shared/Layer.h"

#include <QFile>
#include <QTimer>

using namespace std::chrono_literals;

static constexpr auto kBubbleDuration = 300ms;
static constexpr auto kBubbleDelay = 10ms;

static QString opacityKey()
{
    return QStringLiteral("opacity");
}

/// The image of a bubble, sharp on that display where there is such a one; none when it is missing.
static QPixmap bubbleImage(const Bundle &bundle, double devicePixelRatio)
{
    std::optional<Path> image = devicePixelRatio > 1 ? bundle.resource("bubble@2x", "png") : std::nullopt;
    if (!image)
        image = bundle.resource("bubble", "png");
    return image ? QPixmap(QFile::decodeName(image->c_str())) : QPixmap();
}

void TamselPref::addBubble()
{
    IconButton *const icon = iconButton();
    if (!icon)
        return;
    auto layer = std::make_unique<Layer>();
    layer->setContents(bubbleImage(bundle(), icon->devicePixelRatioF()));
    layer->setBounds({0, 0, 20, 20});
    layer->setPosition({100, 35});
    layer->setOpacity(0);
    Layer *const added = icon->layer().addSublayer(std::move(layer));
    QTimer::singleShot(kBubbleDelay, icon, [self = QPointer(this), added] {
        if (self)
            self->animateBubbleLayer(added);
    });
}

void TamselPref::animateBubbleLayer(Layer *layer)
{
    layer->addAnimation(bubbleAnimation(), QStringLiteral("position"));
    layer->addAnimation(opacityAnimation(), opacityKey());
}

std::unique_ptr<KeyframeAnimation> TamselPref::bubbleAnimation() const
{
    // Up is up here: a quarter circle from 270 to 360 degrees, counted against the clock. The path's own angles run the
    // other way.
    const QRectF circle(100 - 15, 50 - 15, 30, 30);
    QPainterPath path;
    path.arcMoveTo(circle, -270);
    path.arcTo(circle, -270, -90);
    path.lineTo(120, 135);
    auto animation = std::make_unique<KeyframeAnimation>(kBubbleDuration);
    animation->setPath(path);
    return animation;
}

std::unique_ptr<KeyframeAnimation> TamselPref::opacityAnimation()
{
    auto animation = std::make_unique<KeyframeAnimation>(kBubbleDuration);
    animation->setKeyframes({0, 0.75, 1}, {1, 1, 0});
    animation->setRemovedOnCompletion(false);
    connect(animation.get(), &KeyframeAnimation::didStop, this, &TamselPref::animationDidStop);
    return animation;
}

void TamselPref::animationDidStop(KeyframeAnimation *animation, bool finished)
{
    IconButton *const icon = iconButton();
    if (!finished || !icon)
        return;
    for (const auto &layer : icon->layer().sublayers()) {
        if (layer->animation(opacityKey()) == animation) {
            layer->removeAllAnimations();
            layer->removeFromSuperlayer();
            return;
        }
    }
}

/// Deliberately without effect.
void TamselPref::popBubbles() {}
