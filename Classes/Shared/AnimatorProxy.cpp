#include "Classes/Shared/AnimatorProxy.h"

#include <QGraphicsOpacityEffect>
#include <QPropertyAnimation>
#include <QWidget>

static QString animationName()
{
    return QStringLiteral("frameAnimation");
}

QPropertyAnimation *AnimatorProxy::frameAnimation(const QWidget *view)
{
    return view->findChild<QPropertyAnimation *>(animationName(), Qt::FindDirectChildrenOnly);
}

QPropertyAnimation *AnimatorProxy::animateFrame(QWidget *view, const QRect &frame)
{
    delete frameAnimation(view);
    auto *const animation = new QPropertyAnimation(view, "geometry", view);
    animation->setObjectName(animationName());
    animation->setDuration(int(kDefaultDuration.count()));
    animation->setEasingCurve(QEasingCurve::InOutQuad);
    animation->setEndValue(frame);
    animation->start(QAbstractAnimation::DeleteWhenStopped);
    return animation;
}

void AnimatorProxy::setFrame(QWidget *view, const QRect &frame)
{
    delete frameAnimation(view);
    view->setGeometry(frame);
}

static QString alphaAnimationName()
{
    return QStringLiteral("alphaAnimation");
}

/// The effect that fades the view; a view that was never faded gets one. Switched off it costs nothing.
static QGraphicsOpacityEffect *opacityOf(QWidget *view)
{
    auto *effect = qobject_cast<QGraphicsOpacityEffect *>(view->graphicsEffect());
    if (!effect) {
        effect = new QGraphicsOpacityEffect(view);
        effect->setOpacity(1);
        effect->setEnabled(false);
        view->setGraphicsEffect(effect);
        const auto enable = [effect](double opacity) { effect->setEnabled(opacity < 1); };
        QObject::connect(effect, &QGraphicsOpacityEffect::opacityChanged, effect, enable);
    }
    return effect;
}

QPropertyAnimation *AnimatorProxy::alphaAnimation(const QWidget *view)
{
    return view->findChild<QPropertyAnimation *>(alphaAnimationName(), Qt::FindDirectChildrenOnly);
}

QPropertyAnimation *AnimatorProxy::animateAlpha(QWidget *view, double alpha)
{
    delete alphaAnimation(view);
    auto *const animation = new QPropertyAnimation(opacityOf(view), "opacity", view);
    animation->setObjectName(alphaAnimationName());
    animation->setDuration(int(kDefaultDuration.count()));
    animation->setEndValue(alpha);
    animation->start(QAbstractAnimation::DeleteWhenStopped);
    return animation;
}

double AnimatorProxy::alphaValue(const QWidget *view)
{
    const auto *const effect = qobject_cast<const QGraphicsOpacityEffect *>(view->graphicsEffect());
    return effect ? effect->opacity() : 1;
}
