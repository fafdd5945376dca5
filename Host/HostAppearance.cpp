#include "Host/HostAppearance.h"

#include "Host/HostStyle.h"

#include <QApplication>

#include <utility>

static QPalette lightPalette()
{
    QPalette palette(QColor(0xef, 0xef, 0xef));
    palette.setColor(QPalette::Highlight, QColor(0x2a, 0x6f, 0xc4));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, QColor(0x1d, 0x5c, 0xab));
    palette.setColor(QPalette::PlaceholderText, QColor(0x66, 0x66, 0x66));
    return palette;
}

static QPalette darkPalette()
{
    const QColor text(0xe8, 0xe8, 0xe8);
    const QColor dimmed(0x85, 0x85, 0x85);
    QPalette palette(QColor(0x3a, 0x3a, 0x3c), QColor(0x2b, 0x2b, 0x2d));
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::ToolTipText})
        palette.setColor(role, text);
    palette.setColor(QPalette::Base, QColor(0x1e, 0x1e, 0x20));
    palette.setColor(QPalette::AlternateBase, QColor(0x26, 0x26, 0x28));
    palette.setColor(QPalette::ToolTipBase, QColor(0x3a, 0x3a, 0x3c));
    palette.setColor(QPalette::BrightText, Qt::white);
    palette.setColor(QPalette::Highlight, QColor(0x3d, 0x7e, 0xd6));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, QColor(0x7d, 0xb4, 0xf5));
    palette.setColor(QPalette::LinkVisited, QColor(0xb9, 0x9c, 0xf0));
    palette.setColor(QPalette::PlaceholderText, QColor(0x9a, 0x9a, 0x9a));
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, dimmed);
    palette.setColor(QPalette::Disabled, QPalette::Highlight, QColor(0x50, 0x50, 0x52));
    palette.setColor(QPalette::Disabled, QPalette::HighlightedText, dimmed);
    return palette;
}

HostAppearance::HostAppearance(Appearance wanted)
    : m_themePalette(QApplication::palette())
{
    if (wanted != Appearance::Automatic)
        apply(wanted);
    else if (DesktopAppearance::isInstalled())
        DesktopAppearance::current().observe([this](Appearance appearance) { apply(appearance); });
}

bool HostAppearance::isDark(const QPalette &palette)
{
    return palette.color(QPalette::Window).lightness() < palette.color(QPalette::WindowText).lightness();
}

void HostAppearance::apply(Appearance appearance)
{
    const bool wantsDark = appearance == Appearance::Dark;
    // A theme that says the same in its own colours is left alone.
    if (appearance == Appearance::Automatic || isDark(m_themePalette) == wantsDark) {
        if (std::exchange(m_isApplied, false))
            QApplication::setPalette(m_themePalette);
        return;
    }
    m_isApplied = true;
    QApplication::setStyle(new HostStyle);
    QApplication::setPalette(wantsDark ? darkPalette() : lightPalette());
}
