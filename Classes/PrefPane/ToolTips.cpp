#include "Classes/PrefPane/ToolTips.h"

#include <QCoreApplication>
#include <QLocale>

QString plainToolTip(const QString &text)
{
    // A tool tip guesses what it is given; a folder may be called "<b>".
    return Qt::mightBeRichText(text) ? QStringLiteral("<p style='white-space:pre'>%1</p>").arg(text.toHtmlEscaped())
                                     : text;
}

QString exactSize(ByteCount size)
{
    const QString number = QLocale().toString(qulonglong(size));
    return size == 1 ? QCoreApplication::translate("ToolTips", "1 byte")
                     : QCoreApplication::translate("ToolTips", "%1 bytes").arg(number);
}
