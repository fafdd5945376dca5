#include "Classes/Shared/ShrinkingTextMeasure.h"

#include <QFontMetricsF>
#include <QGlyphRun>
#include <QTextLayout>

#include <algorithm>

static constexpr qsizetype kShortest = 24; // less is measured as fast
static constexpr QLatin1String kDots("...");

/// Nothing in it runs from right to left or depends on more than its neighbours.
static bool isPlain(const QString &text)
{
    return std::ranges::all_of(text, [](QChar each) {
        return (each.unicode() >= 0x20 && each.unicode() < 0x7f) || (each.unicode() > 0xa0 && each.unicode() < 0x250);
    });
}

/// The whole text in one line.
static QTextLine lineOf(QTextLayout &layout)
{
    layout.beginLayout();
    QTextLine line = layout.createLine();
    line.setNumColumns(int(layout.text().size()));
    layout.endLayout();
    return line;
}

double ShrinkingTextMeasure::operator()(const AttributedString &string)
{
    const QString &text = string.text();
    if (string.runs().size() != 1 || text.size() < kShortest)
        return widthOf(string);
    const QFont &font = string.runs().front().attributes.font;
    if (font == m_font && text == m_text)
        return m_width;
    if (font != m_font || !isShortened(text)) {
        remember(text, font);
        return m_width;
    }
    const auto width = m_isPlain ? shortenedWidth(text.size() - kDots.size()) : std::nullopt;
    return width ? *width : widthOf(string);
}

/// Of so much of the text and the dots; nothing where a ligature is cut.
std::optional<double> ShrinkingTextMeasure::shortenedWidth(qsizetype length)
{
    const QChar last = m_text[length - 1];
    const Joint atCut = joint(last, m_text[length]);
    const Joint atDots = joint(last, u'.');
    if (atCut.isLigature || atDots.isLigature)
        return std::nullopt;
    if (m_ends.empty())
        layOut();
    return m_ends[std::size_t(length)] - atCut.first + atDots.width + m_dotsWidth;
}

/// Whether it is the beginning of the remembered text with dots for the rest.
bool ShrinkingTextMeasure::isShortened(const QString &text) const
{
    const qsizetype length = text.size() - kDots.size();
    return length < m_text.size() && text.endsWith(kDots) && m_text.startsWith(QStringView(text).left(length));
}

void ShrinkingTextMeasure::remember(const QString &text, const QFont &font)
{
    const QFontMetricsF metrics(font);
    if (font != m_font)
        m_joints.clear();
    m_font = font;
    m_text = text;
    m_width = metrics.horizontalAdvance(text);
    m_dotsWidth = metrics.horizontalAdvance(kDots);
    m_isPlain = isPlain(text);
    m_ends.clear();
}

void ShrinkingTextMeasure::layOut()
{
    QTextLayout layout(m_text, m_font);
    const QTextLine line = lineOf(layout);
    for (int length = 0; length <= m_text.size(); ++length)
        m_ends.push_back(line.cursorToX(length));
}

const ShrinkingTextMeasure::Joint &ShrinkingTextMeasure::joint(QChar left, QChar right)
{
    const auto found = m_joints.constFind({left, right});
    if (found != m_joints.constEnd())
        return *found;
    const QFontMetricsF metrics(m_font);
    const double leftWidth = metrics.horizontalAdvance(left);
    const QString both = QString(left) + right;
    QTextLayout layout(both, m_font);
    const QTextLine line = lineOf(layout);
    qsizetype glyphs = 0;
    for (const QGlyphRun &run : layout.glyphRuns())
        glyphs += run.glyphIndexes().size();
    const double width = metrics.horizontalAdvance(both) - leftWidth - metrics.horizontalAdvance(right);
    return *m_joints.insert({left, right}, {width, line.cursorToX(1) - leftWidth, glyphs != both.size()});
}
