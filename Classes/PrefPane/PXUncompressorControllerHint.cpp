#include "Classes/PrefPane/DragInfoImageView.h"
#include "Classes/PrefPane/PXUncompressorController.h"
#include "Classes/Shared/AnimatorProxy.h"

#include <QLabel>

using namespace std::chrono_literals;

// The two periods differ on purpose: together they never look the same twice.
static constexpr auto kFadingTime = 400ms;
static constexpr auto kMovingTime = 300ms;

static std::unique_ptr<KeyframeAnimation> swinging(std::chrono::milliseconds duration)
{
    auto animation = std::make_unique<KeyframeAnimation>(duration);
    animation->setAutoreverses(true);
    animation->setLoopCount(-1);
    return animation;
}

void PXUncompressorController::startAnimatingDragInfoImage()
{
    setAnimatingDragInfoImage(true);
    if (m_dragInfoImageView) {
        Layer &layer = m_dragInfoImageView->layer();
        layer.setMasksToBounds(false);
        m_dragInfoImageView->show();
        auto fading = swinging(kFadingTime);
        fading->setKeyframes({0, 1}, {0.7, 1.0});
        layer.addAnimation(std::move(fading), QStringLiteral("opacity"));
        auto moving = swinging(kMovingTime);
        QPainterPath path({0, -2});
        path.lineTo(0, 3);
        moving->setPath(path);
        layer.addAnimation(std::move(moving), QStringLiteral("position"));
    }
    fadeRestingViews(0.0);
}

void PXUncompressorController::stopAnimatingDragInfoImage()
{
    setAnimatingDragInfoImage(false);
    if (m_dragInfoImageView) {
        m_dragInfoImageView->layer().removeAllAnimations();
        m_dragInfoImageView->hide();
    }
    fadeRestingViews(1.0);
}

void PXUncompressorController::fadeRestingViews(double alpha)
{
    if (m_dragTextField)
        AnimatorProxy::animateAlpha(m_dragTextField, alpha);
    if (m_uncompressIconImageView)
        AnimatorProxy::animateAlpha(m_uncompressIconImageView, alpha);
}

void PXUncompressorController::setAnimatingDragInfoImage(bool isAnimating)
{
    m_animatingDragInfoImage = isAnimating;
    Q_EMIT animatingDragInfoImageChanged();
}
