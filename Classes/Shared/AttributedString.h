#pragma once

#include <QColor>
#include <QFont>
#include <QString>

#include <functional>
#include <vector>

/// How a stretch of text looks.
struct TextAttributes
{
    QFont font;
    QColor color;

    bool operator==(const TextAttributes &) const = default;
};

/// Text of which every stretch has its attributes. Positions and lengths count UTF-16 code units. A value.
class AttributedString
{
public:
    struct Run
    {
        qsizetype length = 0;
        TextAttributes attributes;

        bool operator==(const Run &) const = default;
    };

    AttributedString() = default;
    AttributedString(const QString &text, const TextAttributes &attributes);

    const QString &text() const { return m_text; }
    qsizetype length() const { return m_text.size(); }

    /// The stretches from the start to the end; none is empty.
    const std::vector<Run> &runs() const { return m_runs; }

    /// The part from `start` on, with its attributes. Both ends must lie within the text.
    AttributedString substring(qsizetype start, qsizetype length) const;

    void append(const AttributedString &other);

    /// Appends text that takes the attributes of what it follows.
    void append(const QString &text);

    /// Puts `text` in the place of the range, with the attributes of the range's first unit. The range must lie within
    /// the text and hold at least one unit.
    void replace(qsizetype start, qsizetype length, const QString &text);

    bool operator==(const AttributedString &) const = default;

private:
    void appendRun(qsizetype length, const TextAttributes &attributes);

    QString m_text;
    std::vector<Run> m_runs;
};

/// How wide a text is when it is drawn, in points.
using MeasureText = std::function<double(const AttributedString &)>;

/// Measures with the fonts of the attributes.
double widthOf(const AttributedString &string);
