#include "Classes/PrefPane/NoteLabel.h"

#include "Classes/PrefPane/PaneColors.h"

#include <QEvent>

NoteLabel::NoteLabel(QWidget *parent)
    : QLabel(parent)
{
    setWordWrap(true);
    setTextFormat(Qt::PlainText);
    takeColor();
}

void NoteLabel::changeEvent(QEvent *event)
{
    QLabel::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::ParentChange)
        takeColor();
}

void NoteLabel::takeColor()
{
    if (!parentWidget())
        return;
    QPalette own = palette();
    const QColor color = secondaryText(parentWidget()->palette());
    if (own.color(QPalette::WindowText) == color)
        return; // the change was this one
    own.setColor(QPalette::WindowText, color);
    own.setColor(QPalette::Text, color);
    setPalette(own);
}
