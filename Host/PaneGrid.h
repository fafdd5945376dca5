#pragma once

#include <QIcon>
#include <QString>
#include <QWidget>

#include <vector>

class QGridLayout;
class QToolButton;

/// All panes as icons with their names, as many in a row as fit. Tab and the arrow keys move between them, Space and
/// Return open one. Main thread.
class PaneGrid final : public QWidget
{
    Q_OBJECT

public:
    struct Item
    {
        QString name;
        QIcon icon;
        QString toolTip;
    };

    explicit PaneGrid(QWidget *parent = nullptr);

    void setItems(const std::vector<Item> &items);

    /// Gives the focus to the icon with that place, counted from 0.
    void focusItem(int index);

    /// One column wide and as high as the rows are now.
    QSize minimumSizeHint() const override;

    bool eventFilter(QObject *watched, QEvent *event) override;

Q_SIGNALS:
    void activated(int index);

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    int cellWidth() const;
    void arrange();
    bool moveFocus(int from, int key);

    QGridLayout *m_layout = nullptr;
    std::vector<QToolButton *> m_buttons;
    int m_columns = 0;
};
