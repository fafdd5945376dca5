#include "Classes/Shared/DVellipsis.h"

static constexpr qsizetype kCut = 4; // at first four characters, then the dots and one more
static constexpr QChar kCarriageReturn(u'\r');

static const QString &dots()
{
    static const QString text = QStringLiteral("...");
    return text;
}

static bool endsLine(const QString &text, qsizetype index)
{
    const char16_t unit = text[index].unicode();
    if (unit == u'\r')
        return index + 1 == text.size() || text[index + 1] != u'\n';
    return unit == u'\n' || unit == 0x85 || unit == 0x2028 || unit == 0x2029;
}

/// The lines with their ends, but without a carriage return at the end.
static std::vector<AttributedString> linesOf(const AttributedString &string)
{
    const QString &text = string.text();
    std::vector<AttributedString> lines;
    for (qsizetype start = 0; start < text.size();) {
        qsizetype end = start;
        while (end < text.size() && !endsLine(text, end))
            ++end;
        end = std::min(end + 1, text.size());
        const bool isReturn = text[end - 1] == kCarriageReturn;
        lines.push_back(string.substring(start, end - start - (isReturn ? 1 : 0)));
        start = end;
    }
    return lines;
}

static void ellipsizeLine(AttributedString &line, float width, const MeasureText &measure)
{
    while (float(measure(line)) > width && line.length() >= kCut) {
        qsizetype start = line.length() - kCut;
        if (start > 0 && line.text()[start].isLowSurrogate() && line.text()[start - 1].isHighSurrogate())
            --start;
        line.replace(start, line.length() - start, dots());
    }
}

void ellipsizeToFitWidth(AttributedString &string, float width, const MeasureText &measure)
{
    if (width >= float(measure(string)))
        return;
    AttributedString result;
    for (AttributedString &line : linesOf(string)) {
        ellipsizeLine(line, width, measure);
        result.append(line);
        result.append(kCarriageReturn);
    }
    if (result.text().endsWith(kCarriageReturn))
        result = result.substring(0, result.length() - 1);
    string = std::move(result);
}

AttributedString mutableEllipsizedStringFrom(const QString &text, const TextAttributes &attributes, float width,
                                             const MeasureText &measure)
{
    AttributedString string(text, attributes);
    if (width > float(measure({dots(), attributes})))
        ellipsizeToFitWidth(string, width, measure);
    return string;
}
