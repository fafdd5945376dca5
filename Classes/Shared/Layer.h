#pragma once

#include "Classes/Shared/KeyframeAnimation.h"

#include <QPixmap>
#include <QPointF>
#include <QRectF>
#include <QString>

#include <functional>
#include <map>
#include <memory>
#include <vector>

class QPainter;

/// A picture in a tree of pictures, which animations move and fade. Coordinates have their origin at the bottom left of
/// the superlayer. A view owns the root; a layer owns its sublayers and animations. Main thread.
class Layer final
{
public:
    Layer() = default;
    ~Layer();
    Layer(const Layer &) = delete;
    Layer &operator=(const Layer &) = delete;

    void setContents(const QPixmap &contents);
    void setBounds(const QRectF &bounds);
    const QRectF &bounds() const { return m_bounds; }

    /// Whether what is drawn outside the bounds is cut off, of the sublayers too. No, unless set.
    void setMasksToBounds(bool doMask);
    bool masksToBounds() const { return m_masksToBounds; }

    /// The place of the centre in the superlayer.
    void setPosition(QPointF position);
    QPointF position() const { return m_position; }

    /// 0 to 1.
    void setOpacity(double opacity);
    double opacity() const { return m_opacity; }

    /// Where and how the layer is seen now: what the animations "position" and "opacity" say while they run.
    QPointF presentedPosition() const;
    double presentedOpacity() const;

    Layer *addSublayer(std::unique_ptr<Layer> layer);
    const std::vector<std::unique_ptr<Layer>> &sublayers() const { return m_sublayers; }
    Layer *superlayer() const { return m_superlayer; }

    /// Deletes the layer, when it has a superlayer.
    void removeFromSuperlayer();

    /// Starts the animation; one that ran under the same key is ended.
    void addAnimation(std::unique_ptr<KeyframeAnimation> animation, const QString &key);
    KeyframeAnimation *animation(const QString &key) const;
    void removeAllAnimations();

    /// Called on the root whenever something in the tree looks different.
    void setNeedsDisplayHandler(std::function<void()> handler) { m_needsDisplay = std::move(handler); }

    /// Draws the sublayers into a view of that height.
    void paintSublayers(QPainter &painter, double height) const;

private:
    struct EndAnimation
    {
        void operator()(KeyframeAnimation *animation) const;
    };
    using OwnedAnimation = std::unique_ptr<KeyframeAnimation, EndAnimation>;

    void setNeedsDisplay() const;
    void paint(QPainter &painter, double superHeight) const;

    Layer *m_superlayer = nullptr;
    std::vector<std::unique_ptr<Layer>> m_sublayers;
    std::map<QString, OwnedAnimation> m_animations;
    QPixmap m_contents;
    QRectF m_bounds;
    QPointF m_position;
    double m_opacity = 1;
    bool m_masksToBounds = false;
    std::function<void()> m_needsDisplay;
};
