#pragma once

#include <QAbstractButton>

/// The knob of the activation switch: checked is on. It is only as large as itself; its owner moves it.
class KnobButton final : public QAbstractButton
{
    Q_OBJECT

public:
    explicit KnobButton(QWidget *parent = nullptr);

    QSize sizeHint() const override { return {40, 25}; }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QColor shade(int alpha) const;
};
