#include "Classes/Shared/Layer.h"

#include "Classes/Shared/BottomLeft.h"

#include <QPainter>

#include <algorithm>

static bool isRunning(const KeyframeAnimation *animation)
{
    return animation && animation->state() != QAbstractAnimation::Stopped;
}

void Layer::EndAnimation::operator()(KeyframeAnimation *animation) const
{
    animation->stop();
    animation->disconnect();
    animation->deleteLater(); // it may be the one whose signal led here
}

Layer::~Layer()
{
    removeAllAnimations();
}

void Layer::setContents(const QPixmap &contents)
{
    m_contents = contents;
    setNeedsDisplay();
}

void Layer::setBounds(const QRectF &bounds)
{
    m_bounds = bounds;
    setNeedsDisplay();
}

void Layer::setMasksToBounds(bool doMask)
{
    m_masksToBounds = doMask;
    setNeedsDisplay();
}

void Layer::setPosition(QPointF position)
{
    m_position = position;
    setNeedsDisplay();
}

void Layer::setOpacity(double opacity)
{
    m_opacity = opacity;
    setNeedsDisplay();
}

QPointF Layer::presentedPosition() const
{
    const KeyframeAnimation *const running = animation(QStringLiteral("position"));
    return isRunning(running) ? running->point() : m_position;
}

double Layer::presentedOpacity() const
{
    const KeyframeAnimation *const running = animation(QStringLiteral("opacity"));
    return isRunning(running) ? running->value() : m_opacity;
}

Layer *Layer::addSublayer(std::unique_ptr<Layer> layer)
{
    layer->m_superlayer = this;
    m_sublayers.push_back(std::move(layer));
    setNeedsDisplay();
    return m_sublayers.back().get();
}

void Layer::removeFromSuperlayer()
{
    if (!m_superlayer)
        return;
    m_superlayer->setNeedsDisplay();
    std::erase_if(m_superlayer->m_sublayers, [this](const auto &layer) { return layer.get() == this; });
}

void Layer::addAnimation(std::unique_ptr<KeyframeAnimation> animation, const QString &key)
{
    KeyframeAnimation *const added = animation.release();
    QObject::connect(added, &KeyframeAnimation::progressed, added, [this] { setNeedsDisplay(); });
    QObject::connect(added, &QAbstractAnimation::finished, added, [this, added, key] {
        if (added->isRemovedOnCompletion() && this->animation(key) == added)
            m_animations.erase(key);
        setNeedsDisplay();
    });
    m_animations[key] = OwnedAnimation(added);
    added->start();
}

KeyframeAnimation *Layer::animation(const QString &key) const
{
    const auto found = m_animations.find(key);
    return found == m_animations.end() ? nullptr : found->second.get();
}

void Layer::removeAllAnimations()
{
    // Out of the layer before they are ended: whoever hears of the end finds none left.
    const auto ended = std::exchange(m_animations, {});
}

void Layer::setNeedsDisplay() const
{
    const Layer *root = this;
    while (root->m_superlayer)
        root = root->m_superlayer;
    if (root->m_needsDisplay)
        root->m_needsDisplay();
}

void Layer::paintSublayers(QPainter &painter, double height) const
{
    for (const auto &layer : m_sublayers)
        layer->paint(painter, height);
}

void Layer::paint(QPainter &painter, double superHeight) const
{
    const double seen = presentedOpacity();
    if (seen <= 0)
        return;
    QRectF frame(QPointF(), m_bounds.size());
    frame.moveCenter(presentedPosition());
    const QRectF target = BottomLeft::toTopLeft(frame, superHeight);
    painter.save();
    painter.setOpacity(painter.opacity() * seen);
    painter.translate(target.topLeft());
    if (m_masksToBounds)
        painter.setClipRect(QRectF(QPointF(), target.size()), Qt::IntersectClip);
    painter.drawPixmap(QRectF(QPointF(), target.size()), m_contents, QRectF(m_contents.rect()));
    paintSublayers(painter, m_bounds.height());
    painter.restore();
}
