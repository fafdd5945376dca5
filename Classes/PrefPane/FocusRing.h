#pragma once

#include <QWidget>

/// A ring inside a widget's edge that shows that the keyboard has led there, for widgets that do not show it
/// themselves. The widget owns it; the pointer goes through it.
class FocusRing final : public QWidget
{
    Q_OBJECT

public:
    explicit FocusRing(QWidget *widget);

    /// Draws such a ring inside the edge of a widget that is being painted.
    static void drawIn(QWidget &widget);

    bool eventFilter(QObject *watched, QEvent *event) override;

protected:
    void paintEvent(QPaintEvent *event) override;
};
