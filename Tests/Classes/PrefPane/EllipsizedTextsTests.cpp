#include "Classes/PrefPane/EllipsizedTexts.h"

#include <gtest/gtest.h>

namespace {

class EllipsizedTextsTest : public ::testing::Test
{
protected:
    QString shortened(const char *text, float width, const TextAttributes &attributes = {})
    {
        return texts.shortened(QString::fromLatin1(text), attributes, width).text();
    }

    int measured = 0;
    EllipsizedTexts texts{[this](const AttributedString &string) {
        ++measured;
        return 10.0 * double(string.length());
    }};
};

} // namespace

TEST_F(EllipsizedTextsTest, sameTextAndWidth_areNotMeasuredAgain)
{
    EXPECT_EQ(shortened("abcdefghi", 60), QStringLiteral("abc..."));
    const int once = std::exchange(measured, 0);
    EXPECT_GT(once, 3);
    EXPECT_EQ(shortened("abcdefghi", 60), QStringLiteral("abc..."));
    EXPECT_EQ(measured, 0);
}

TEST_F(EllipsizedTextsTest, anotherTextWidthOrFont_isShortenedAnew)
{
    shortened("abcdefghi", 60);
    EXPECT_EQ(shortened("abcdefghj", 60), QStringLiteral("abc..."));
    EXPECT_EQ(shortened("abcdefghi", 70), QStringLiteral("abcd..."));
    QFont large;
    large.setPixelSize(40);
    measured = 0;
    EXPECT_EQ(shortened("abcdefghi", 60, {large, {}}), QStringLiteral("abc..."));
    EXPECT_GT(measured, 0);
}

TEST_F(EllipsizedTextsTest, anotherColor_isTakenWithoutMeasuring)
{
    shortened("abcdefghi", 60, {QFont(), Qt::black});
    measured = 0;
    const AttributedString red = texts.shortened(QStringLiteral("abcdefghi"), {QFont(), Qt::red}, 60);
    EXPECT_EQ(red, AttributedString(QStringLiteral("abc..."), {QFont(), Qt::red}));
    EXPECT_EQ(measured, 0);
}

TEST_F(EllipsizedTextsTest, veryManyTexts_areRightAndForgottenAtLast)
{
    for (int number = 0; number < 5000; ++number)
        EXPECT_EQ(shortened(("abcdefghi" + std::to_string(number)).c_str(), 60), QStringLiteral("abc..."));
    measured = 0;
    shortened("abcdefghi0", 60);
    EXPECT_GT(measured, 0);
}
