#pragma once

#include "Classes/PrefPane/EllipsizedTexts.h"
#include "Classes/PrefPane/NamedColor.h"
#include "Classes/Shared/AttributedString.h"

#include <QIcon>
#include <QPainter>
#include <QRectF>
#include <QString>

/// What a table sets in a cell before the cell draws.
struct CellContext
{
    QString stringValue;        ///< the value of a column of text
    quint64 objectValue = 0;    ///< the value of a column of numbers
    QIcon icon;                 ///< of the file at `stringValue`
    bool isMissing = false;     ///< no file exists at `stringValue`
    bool isHighlighted = false; ///< its row is selected
    bool isEnabled = true;
    bool state = false; ///< whether the helper is active
    QPalette palette;
};

/// Text and where it goes, in points from the top left corner of the table.
struct CellText
{
    AttributedString text;
    QRectF rect;

    /// Draws what the rectangle has room for.
    void draw(QPainter &painter) const;
};

/// What the text cells share. The geometry is computed apart from the drawing, with a measure that is handed in.
namespace TextFieldCell {

/// "Lucida Grande" of 11 points, or what stands for it.
QFont font();

/// How high a line of text in that font is.
double textHeight();

/// The colour of a text that is no path.
NamedColor textColor(const CellContext &context);

/// The colour of a path: red where its file is missing.
NamedColor pathColor(const CellContext &context);

/// How the cell's text looks in that colour.
TextAttributes attributes(NamedColor color, const CellContext &context);

} // namespace TextFieldCell
