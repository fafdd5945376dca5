#pragma once

#include "Classes/Shared/AttributedString.h"

#include <QHash>

#include <optional>
#include <utility>
#include <vector>

/// Measures as `widthOf` does, but a text that is shortened bit by bit and ends in dots in no more time than the parts
/// that change take: the whole is laid out once. What is not plain Latin text is measured anew each time. Main thread.
class ShrinkingTextMeasure final
{
public:
    double operator()(const AttributedString &string);

private:
    /// What two characters do to each other when they stand together.
    struct Joint
    {
        double width = 0; ///< by how much both are wider than each alone
        double first = 0; ///< how much of that lies before the second
        bool isLigature = false;
    };

    bool isShortened(const QString &text) const;
    void remember(const QString &text, const QFont &font);
    std::optional<double> shortenedWidth(qsizetype length);
    void layOut();
    const Joint &joint(QChar left, QChar right);

    QFont m_font;
    QString m_text; ///< the text as it was first
    double m_width = 0;
    double m_dotsWidth = 0;
    bool m_isPlain = false;
    std::vector<double> m_ends; ///< where each beginning of the text ends; empty before it is needed
    QHash<std::pair<QChar, QChar>, Joint> m_joints; ///< in that font
};
