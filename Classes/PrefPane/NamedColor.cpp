#include "Classes/PrefPane/NamedColor.h"

#include "Classes/PrefPane/PaneColors.h"

QColor colorNamed(NamedColor name, const QPalette &palette, bool isHighlighted)
{
    const auto role = [&palette](QPalette::ColorRole which) { return palette.color(QPalette::Normal, which); };
    switch (name) {
    case NamedColor::ControlText:
        return role(QPalette::Text);
    case NamedColor::AlternateSelectedControlText:
        return role(QPalette::HighlightedText);
    case NamedColor::Gray:
        return blended(role(QPalette::Text), role(QPalette::Base), 0.45);
    case NamedColor::Red:
        return isDark(palette) ? QColor(0xff, 0x75, 0x6b) : QColor(0xd0, 0x10, 0x10);
    case NamedColor::AlternateSelectedControl:
        return role(QPalette::Highlight);
    case NamedColor::SelectedControl:
        return blended(role(QPalette::Highlight), role(QPalette::Base), 0.35);
    case NamedColor::White:
        return Qt::white;
    case NamedColor::Black:
        return !isHighlighted && isDark(palette) ? role(QPalette::Text) : QColor(Qt::black);
    }
    return {};
}
