#pragma once

#include <QWidget>

class QAbstractButton;

/// The track in which the switch's knob slides, with the knob as its child. Frames in it count from the bottom left.
class SwitchView final : public QWidget
{
    Q_OBJECT

public:
    explicit SwitchView(QWidget *parent = nullptr);

    /// The knob, a child of this view. What the track shows follows the knob's place.
    void setKnob(QAbstractButton *knob);

    QSize sizeHint() const override;
    bool eventFilter(QObject *watched, QEvent *event) override;

Q_SIGNALS:
    /// The track was clicked beside the knob.
    void clicked();

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    QRectF track() const;
    double shareOn() const;
    void paintWord(QPainter &painter, const QRectF &place, const QString &word, const QColor &color, double opacity);

    QAbstractButton *m_knob = nullptr;
    bool m_isPressed = false;
};
