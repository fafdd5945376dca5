#pragma once

#include <QColor>
#include <QPalette>

/// The colours that the cells ask for, by what they are for. Two are the same when their names are, whatever a palette
/// makes of them.
enum class NamedColor {
    ControlText,
    AlternateSelectedControlText, ///< on the strong selection
    Gray,                         ///< what is disabled
    Red,                          ///< what is missing
    AlternateSelectedControl,     ///< the strong selection
    SelectedControl,              ///< the light one
    White,
    Black
};

/// What the palette of a list makes of it, with the brightness that the palette's background asks for. White and black
/// are just that, but for black on a dark list outside of a highlighted row: there it is the list's text.
QColor colorNamed(NamedColor name, const QPalette &palette, bool isHighlighted = false);
