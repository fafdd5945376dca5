#pragma once

#include <QLabel>

/// A wrapped sentence of second rank, in smaller letters and a quieter colour that follows the palette.
class NoteLabel final : public QLabel
{
    Q_OBJECT

public:
    explicit NoteLabel(QWidget *parent = nullptr);

protected:
    void changeEvent(QEvent *event) override;

private:
    void takeColor();
};
