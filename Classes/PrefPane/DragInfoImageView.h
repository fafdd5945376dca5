#pragma once

#include "Classes/Shared/Layer.h"

#include <QWidget>

/// The picture that shows what may be done with what is dragged, in a layer that can be animated. The layer's resting
/// position is (0, 0), in the middle of the view. Main thread.
class DragInfoImageView final : public QWidget
{
    Q_OBJECT

public:
    explicit DragInfoImageView(QWidget *parent = nullptr);

    /// The layer of the picture.
    Layer &layer() { return *m_picture; }

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void drawPicture();

    Layer m_root;
    Layer *m_middle;  ///< a point in the middle of the view
    Layer *m_picture; ///< in `m_middle`
};
