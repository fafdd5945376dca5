#pragma once

#include <QTabBar>
#include <QTabWidget>

/// Tabs as words in a row, the current one underlined in the colour of the selection.
class PaneTabBar final : public QTabBar
{
    Q_OBJECT

public:
    explicit PaneTabBar(QWidget *parent = nullptr);

protected:
    QSize tabSizeHint(int index) const override;
    void paintEvent(QPaintEvent *event) override;
};

/// A tab widget with such a bar and a plain page below it.
class PaneTabView final : public QTabWidget
{
    Q_OBJECT

public:
    explicit PaneTabView(QWidget *parent = nullptr);
};
