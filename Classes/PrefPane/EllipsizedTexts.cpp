#include "Classes/PrefPane/EllipsizedTexts.h"

#include "Classes/Shared/DVellipsis.h"

#include <utility>

static constexpr int kMostTexts = 2000; // many more than a screen shows

EllipsizedTexts::EllipsizedTexts(MeasureText measure)
    : m_measure(std::move(measure))
    , m_texts(kMostTexts)
{
}

AttributedString EllipsizedTexts::shortened(const QString &text, const TextAttributes &attributes, float width)
{
    const Key key{text, attributes.font, width};
    if (const QString *const known = m_texts.object(key))
        return {*known, attributes};
    const AttributedString made = mutableEllipsizedStringFrom(text, attributes, width, m_measure);
    m_texts.insert(key, new QString(made.text()));
    return made;
}
