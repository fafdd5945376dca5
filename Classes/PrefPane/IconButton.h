#pragma once

#include "Classes/Shared/Layer.h"

#include <QAbstractButton>
#include <QPixmap>

/// The pane's icon with a layer above it, in which bubbles rise. The layer's origin is the button's bottom left.
class IconButton final : public QAbstractButton
{
    Q_OBJECT

public:
    explicit IconButton(QWidget *parent = nullptr);

    Layer &layer() { return m_layer; }

    /// The icon for displays of one and of two pixels a point; it is drawn in the middle, `sizeHint` less a margin.
    void setIcons(const QPixmap &single, const QPixmap &doubled);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;

private:
    Layer m_layer;
    QPixmap m_single;
    QPixmap m_double;
    bool m_showsFocus = false; ///< the focus came by keyboard
};
