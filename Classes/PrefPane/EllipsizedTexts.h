#pragma once

#include "Classes/Shared/AttributedString.h"
#include "Classes/Shared/ShrinkingTextMeasure.h"

#include <QCache>

/// What the texts of cells became when they were shortened, kept for as long as text, width and font stay the same:
/// shortening measures once for each character that goes. Main thread.
class EllipsizedTexts final
{
public:
    explicit EllipsizedTexts(MeasureText measure = ShrinkingTextMeasure());

    /// As `mutableEllipsizedStringFrom` answers.
    AttributedString shortened(const QString &text, const TextAttributes &attributes, float width);

    const MeasureText &measure() const { return m_measure; }

private:
    struct Key
    {
        QString text;
        QFont font;
        float width = 0;

        friend bool operator==(const Key &, const Key &) = default;
        friend std::size_t qHash(const Key &key, std::size_t seed)
        {
            return qHashMulti(seed, key.text, key.font, key.width);
        }
    };

    MeasureText m_measure;
    QCache<Key, QString> m_texts; ///< those that were asked for last
};
