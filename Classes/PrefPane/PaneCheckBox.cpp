#include "Classes/PrefPane/PaneCheckBox.h"

#include "Classes/PrefPane/PaneColors.h"

#include <QEvent>

PaneCheckBox::PaneCheckBox(QWidget *parent)
    : QCheckBox(parent)
{
    takeColor();
}

void PaneCheckBox::changeEvent(QEvent *event)
{
    QCheckBox::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::ParentChange)
        takeColor();
}

/// The platform-independent style draws the frame in a darker shade of the window's colour, which in a dark window is
/// next to nothing. A check box draws nothing else in that colour.
void PaneCheckBox::takeColor()
{
    if (!parentWidget())
        return;
    const QPalette around = parentWidget()->palette();
    const QColor color =
        blended(around.color(QPalette::Window), around.color(QPalette::WindowText), isDark(around) ? 0.6 : 0.3);
    QPalette own = palette();
    if (own.color(QPalette::Window) == color)
        return; // the change was this one
    own.setColor(QPalette::Window, color);
    setPalette(own);
}
