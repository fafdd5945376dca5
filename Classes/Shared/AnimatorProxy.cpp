#include "Classes/Shared/AnimatorProxy.h"

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
