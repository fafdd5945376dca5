#pragma once

#include <QColor>
#include <QPalette>

/// `from` with a share of `to` in it, 0 to 1.
inline QColor blended(const QColor &from, const QColor &to, double share)
{
    const auto mix = [share](float a, float b) { return float(a + (b - a) * share); };
    return QColor::fromRgbF(mix(from.redF(), to.redF()), mix(from.greenF(), to.greenF()),
                            mix(from.blueF(), to.blueF()));
}

inline bool isDark(const QPalette &palette)
{
    return palette.color(QPalette::Window).lightness() < palette.color(QPalette::WindowText).lightness();
}

/// For words of second rank: readable, but behind the text.
inline QColor secondaryText(const QPalette &palette)
{
    return blended(palette.color(QPalette::WindowText), palette.color(QPalette::Window), 0.32);
}
