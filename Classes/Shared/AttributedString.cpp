#include "Classes/Shared/AttributedString.h"

#include <QFontMetricsF>

#include <algorithm>

AttributedString::AttributedString(const QString &text, const TextAttributes &attributes)
    : m_text(text)
{
    appendRun(text.size(), attributes);
}

void AttributedString::appendRun(qsizetype length, const TextAttributes &attributes)
{
    if (length == 0)
        return;
    if (!m_runs.empty() && m_runs.back().attributes == attributes)
        m_runs.back().length += length;
    else
        m_runs.push_back({length, attributes});
}

AttributedString AttributedString::substring(qsizetype start, qsizetype length) const
{
    AttributedString part;
    part.m_text = m_text.mid(start, length);
    qsizetype runStart = 0;
    for (const Run &run : m_runs) {
        const qsizetype from = std::max(start, runStart);
        const qsizetype to = std::min(start + length, runStart + run.length);
        if (from < to)
            part.appendRun(to - from, run.attributes);
        runStart += run.length;
    }
    return part;
}

void AttributedString::append(const AttributedString &other)
{
    m_text += other.m_text;
    for (const Run &run : other.m_runs)
        appendRun(run.length, run.attributes);
}

void AttributedString::append(const QString &text)
{
    m_text += text;
    appendRun(text.size(), m_runs.empty() ? TextAttributes() : m_runs.back().attributes);
}

void AttributedString::replace(qsizetype start, qsizetype length, const QString &text)
{
    const TextAttributes attributes = substring(start, 1).m_runs.front().attributes;
    AttributedString result = substring(0, start);
    result.append({text, attributes});
    result.append(substring(start + length, m_text.size() - start - length));
    *this = std::move(result);
}

double widthOf(const AttributedString &string)
{
    double width = 0;
    qsizetype start = 0;
    for (const AttributedString::Run &run : string.runs()) {
        width += QFontMetricsF(run.attributes.font).horizontalAdvance(string.text().mid(start, run.length));
        start += run.length;
    }
    return width;
}
