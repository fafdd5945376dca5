#pragma once

#include "Classes/Shared/AttributedString.h"

/// The text with the attributes, shortened by `ellipsizeToFitWidth` where `width` (points) is greater than that of
/// "..."; else whole.
AttributedString mutableEllipsizedStringFrom(const QString &text, const TextAttributes &attributes, float width,
                                             const MeasureText &measure = widthOf);

/// Shortens each line of a string that is wider than `width` (points) by cutting characters off its end and putting
/// "..." in their place, and joins the lines by carriage returns. A string that fits is unchanged. A line that has
/// fewer than four characters left stays as wide as it is; a surrogate pair is cut whole.
void ellipsizeToFitWidth(AttributedString &string, float width, const MeasureText &measure = widthOf);
