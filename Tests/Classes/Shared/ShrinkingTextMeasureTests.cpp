#include "Classes/Shared/ShrinkingTextMeasure.h"

#include "Classes/Shared/DVellipsis.h"

#include <QRandomGenerator>

#include <gtest/gtest.h>

#include <cmath>

namespace {

std::vector<QFont> fonts()
{
    std::vector<QFont> fonts;
    for (const char *family : {"DejaVu Sans", "DejaVu Serif", "DejaVu Sans Mono"}) {
        for (const bool isBold : {false, true}) {
            QFont font(QString::fromLatin1(family));
            font.setPixelSize(11);
            font.setBold(isBold);
            fonts.push_back(font);
        }
    }
    fonts.front().setHintingPreference(QFont::PreferNoHinting);
    return fonts;
}

QStringList texts()
{
    QString mixture;
    QRandomGenerator random(7);
    for (int count = 0; count < 150; ++count)
        mixture += QChar(char16_t(random.bounded(0x20, 0x7f)));
    return {
        QStringLiteral("/home/ann/AVATAR To Waves/Yellow/office files/fjord/affluent/final/Ty.We...Vo,r"),
        QStringLiteral("/home/ann/dots....and/more...../of them.../in a row/.hidden/..."),
        QString::fromUtf8(
            "/home/ann/M\u00fcsli/\u00c5ngstr\u00f6m/\u0141\u00f3d\u017a/caf\u00e9 na\u00efve r\u00e9sum\u00e9"),
        QString::fromUtf8(
            "/home/ann/\u0645\u0648\u0633\u064a\u0642\u0649/\u05e9\u05dc\u05d5\u05dd and some more after that"),
        QString::fromUtf8("/home/ann/e\u0301e\u0301e\u0301 combining/\U0001f3b5\U0001f3b5 pairs/\u97f3\u697d and more"),
        QStringLiteral("/home/ann/with\ta tab/and\u00a0a space that does not break/and more"),
        mixture,
        QString(300, u'm'),
    };
}

} // namespace

TEST(ShrinkingTextMeasure, shortenedTexts_areAsWideAsTheyAre)
{
    for (const QFont &font : fonts()) {
        ShrinkingTextMeasure measure;
        for (const QString &text : texts()) {
            EXPECT_EQ(measure({text, {font, {}}}), widthOf({text, {font, {}}}));
            for (qsizetype length = text.size() - 1; length > 0; --length) {
                const AttributedString shortened(text.left(length) + QStringLiteral("..."), {font, {}});
                EXPECT_NEAR(measure(shortened), widthOf(shortened), 1 / 32.0)
                    << font.toString().toStdString() << ' ' << shortened.text().toStdString();
            }
        }
    }
}

TEST(ShrinkingTextMeasure, ellipsizedTexts_areThoseOfThePlainMeasure)
{
    for (const QFont &font : fonts()) {
        const MeasureText measure = ShrinkingTextMeasure();
        for (const QString &text : texts()) {
            for (const float width : {40.0F, 121.0F, 200.5F, 377.0F}) {
                EXPECT_EQ(mutableEllipsizedStringFrom(text, {font, {}}, width, measure).text(),
                          mutableEllipsizedStringFrom(text, {font, {}}, width, widthOf).text())
                    << font.toString().toStdString() << ' ' << width;
            }
        }
    }
}

TEST(ShrinkingTextMeasure, anotherFontOrText_isMeasuredByItself)
{
    const QString text(40, u'm');
    const QFont small = fonts().back();
    QFont large = small;
    large.setPixelSize(30);
    ShrinkingTextMeasure measure;
    for (const QFont &font : {small, large, small}) {
        for (const QString &each : {text, text.left(30) + QStringLiteral("..."), text.left(30) + QStringLiteral("i..")})
            EXPECT_EQ(measure({each, {font, {}}}), widthOf({each, {font, {}}}));
    }
    AttributedString styled(text, {small, {}});
    styled.append({text, {large, {}}});
    EXPECT_EQ(measure(styled), widthOf(styled));
}
