#include "Classes/Shared/DVellipsis.h"

#include <gmock/gmock.h>

using ::testing::ElementsAre;

namespace {

const TextAttributes kPlain{QFont(), QColor(Qt::black)};
const TextAttributes kRed{QFont(), QColor(Qt::red)};

/// Every UTF-16 unit is ten points wide, line ends and the dots too.
double tenEach(const AttributedString &string)
{
    return 10.0 * double(string.length());
}

QString from(const QString &text, float width)
{
    return mutableEllipsizedStringFrom(text, kPlain, width, tenEach).text();
}

QString inPlace(const QString &text, float width)
{
    AttributedString string(text, kPlain);
    ellipsizeToFitWidth(string, width, tenEach);
    return string.text();
}

} // namespace

TEST(DVellipsisTest, from_nineCharactersWhereSixFit_areAPrefixAndDots)
{
    EXPECT_EQ(from(QStringLiteral("abcdefghi"), 60), QStringLiteral("abc..."));
}

TEST(DVellipsisTest, from_oneCharacterTooMany_losesFour)
{
    EXPECT_EQ(from(QStringLiteral("abcdefghi"), 89), QStringLiteral("abcde..."));
}

TEST(DVellipsisTest, from_textThatFits_keepsItsLineEnds)
{
    const QString text = QStringLiteral("a\nb\r\nc\r");
    EXPECT_EQ(from(text, 70), text);
    EXPECT_EQ(inPlace(text, 70), text);
}

TEST(DVellipsisTest, from_widthNotGreaterThanTheDots_isWhole)
{
    const QString text = QStringLiteral("abcdefghi");
    EXPECT_EQ(from(text, 30), text);
    EXPECT_EQ(from(text, 0), text);
    EXPECT_EQ(from(text, -1), text);
    EXPECT_EQ(from(text, 30.001F), QStringLiteral("..."));
}

TEST(DVellipsisTest, from_emptyText_isEmpty)
{
    EXPECT_EQ(from(QString(), 100), QString());
    EXPECT_EQ(inPlace(QString(), 0), QString());
}

TEST(DVellipsisTest, lines_lineFeed_staysAndGetsACarriageReturnAfterIt)
{
    EXPECT_EQ(inPlace(QStringLiteral("abc\nabcdefghi"), 60), QStringLiteral("abc\n\rabc..."));
}

TEST(DVellipsisTest, lines_carriageReturn_staysOne)
{
    EXPECT_EQ(inPlace(QStringLiteral("abc\rabcdefghi"), 60), QStringLiteral("abc\rabc..."));
}

TEST(DVellipsisTest, lines_bothEnds_areOneLineEndThatStays)
{
    EXPECT_EQ(inPlace(QStringLiteral("ab\r\nabcdefghi"), 60), QStringLiteral("ab\r\n\rabc..."));
}

TEST(DVellipsisTest, lines_otherTerminators_endALineAndStay)
{
    EXPECT_EQ(inPlace(QStringLiteral("ab\u2028abcdefghi"), 60), QStringLiteral("ab\u2028\rabc..."));
    EXPECT_EQ(inPlace(QStringLiteral("ab\u0085abcdefghi"), 60), QStringLiteral("ab\u0085\rabc..."));
    EXPECT_EQ(inPlace(QStringLiteral("ab\u2029abcdefghi"), 60), QStringLiteral("ab\u2029\rabc..."));
}

TEST(DVellipsisTest, lines_returnsAtTheEnd_loseOne)
{
    EXPECT_EQ(inPlace(QStringLiteral("abcdefghi\r"), 60), QStringLiteral("abc..."));
    EXPECT_EQ(inPlace(QStringLiteral("abcdefghi\r\r"), 60), QStringLiteral("abc...\r"));
}

TEST(DVellipsisTest, lines_lineFeedOfALineThatIsCut_isCutWithIt)
{
    EXPECT_EQ(inPlace(QStringLiteral("abcdefghi\nx"), 60), QStringLiteral("abc...\rx"));
}

TEST(DVellipsisTest, inPlace_lineOfFewerThanFourCharacters_staysAsItIs)
{
    EXPECT_EQ(inPlace(QStringLiteral("abc"), 20), QStringLiteral("abc"));
    EXPECT_EQ(inPlace(QStringLiteral("abcd"), 20), QStringLiteral("..."));
}

TEST(DVellipsisTest, inPlace_negativeWidth_ends)
{
    EXPECT_EQ(inPlace(QStringLiteral("abcdefghi"), -1), QStringLiteral("..."));
    EXPECT_EQ(inPlace(QString(), -1), QString());
}

TEST(DVellipsisTest, widths_areComparedInSinglePrecision)
{
    const auto slightlyMore = [](const AttributedString &string) { return 10.0 * double(string.length()) + 1e-9; };
    AttributedString string(QStringLiteral("abcdefghi"), kPlain);
    ellipsizeToFitWidth(string, 90, slightlyMore);
    EXPECT_EQ(string.text(), QStringLiteral("abcdefghi"));
}

TEST(DVellipsisTest, surrogatePairs_areNeverSplit)
{
    const QString pair = QStringLiteral("\U0001F4C1");
    for (int before = 0; before < 6; ++before) {
        const QString text = QString(before, QLatin1Char('a')) + pair.repeated(4);
        for (float width = 0; width < 150; width += 5) {
            const QString shortened = inPlace(text, width);
            EXPECT_TRUE(shortened.isValidUtf16()) << before << " before, " << width << " wide";
        }
    }
}

TEST(DVellipsisTest, combiningAndRightToLeftText_endsWithinTheWidth)
{
    for (const QString &text : {QStringLiteral("e\u0301e\u0301e\u0301e\u0301e\u0301"),
                                QStringLiteral("\u05D0\u05D1\u05D2\u05D3\u05D4\u05D5\u05D6\u05D7")}) {
        const QString shortened = from(text, 60);
        EXPECT_LE(shortened.size(), 6);
        EXPECT_TRUE(shortened.endsWith(QLatin1String("...")));
    }
}

TEST(DVellipsisTest, attributes_dotsTakeThoseOfTheFirstCharacterTheyReplace)
{
    AttributedString string(QStringLiteral("abc"), kPlain);
    string.append(AttributedString(QStringLiteral("defghi"), kRed));
    ellipsizeToFitWidth(string, 80, tenEach); // "abcde" and the dots, red from "d" on
    EXPECT_EQ(string.text(), QStringLiteral("abcde..."));
    EXPECT_THAT(string.runs(), ElementsAre(AttributedString::Run{3, kPlain}, AttributedString::Run{5, kRed}));
    ellipsizeToFitWidth(string, 50, tenEach);
    EXPECT_EQ(string.text(), QStringLiteral("ab..."));
    EXPECT_THAT(string.runs(), ElementsAre(AttributedString::Run{5, kPlain}));
}

TEST(DVellipsisTest, measuring_isDoneOnceForEachCharacterTakenAway)
{
    int measured = 0;
    const auto counting = [&](const AttributedString &string) {
        ++measured;
        return tenEach(string);
    };
    AttributedString string(QString(100, QLatin1Char('a')), kPlain);
    ellipsizeToFitWidth(string, 600, counting);
    EXPECT_EQ(string.length(), 60);
    EXPECT_EQ(measured, 1 + 1 + 40); // whole, the line, and after each of the forty rounds
}
