#pragma once

#include <QCheckBox>

/// A check box whose frame stands out from the window in light and in dark colours, empty too.
class PaneCheckBox final : public QCheckBox
{
    Q_OBJECT

public:
    explicit PaneCheckBox(QWidget *parent = nullptr);

protected:
    void changeEvent(QEvent *event) override;

private:
    void takeColor();
};
