#include "Host/HostAppearance.h"

#include "Platform/Fake/FakeDesktopAppearance.h"

#include <QApplication>
#include <QCheckBox>
#include <QLineEdit>
#include <QWidget>

#include <gtest/gtest.h>

#include <cmath>

namespace {

double luminance(const QColor &color)
{
    const auto linear = [](double part) {
        return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

double contrast(const QColor &one, const QColor &other)
{
    const double first = luminance(one) + 0.05;
    const double second = luminance(other) + 0.05;
    return std::max(first, second) / std::min(first, second);
}

class HostAppearanceTest : public ::testing::Test
{
protected:
    static bool isDark() { return HostAppearance::isDark(QApplication::palette()); }

    FakeDesktopAppearance desktop;
    Override<DesktopAppearance> override{desktop};
};

} // namespace

TEST_F(HostAppearanceTest, asked_whateverTheDesktopPrefers_isThat)
{
    ASSERT_FALSE(isDark());
    {
        const HostAppearance appearance(Appearance::Dark);
        EXPECT_TRUE(isDark());
        desktop.say(Appearance::Light);
        EXPECT_TRUE(isDark());
    }
    const HostAppearance appearance(Appearance::Light);
    EXPECT_FALSE(isDark());
}

TEST_F(HostAppearanceTest, automatic_followsTheDesktopBothWays)
{
    const QPalette before = QApplication::palette();
    const HostAppearance appearance(Appearance::Automatic);
    EXPECT_FALSE(isDark());
    desktop.say(Appearance::Dark);
    EXPECT_TRUE(isDark());
    desktop.say(Appearance::Light);
    EXPECT_FALSE(isDark());
    desktop.say(Appearance::Dark);
    desktop.say(Appearance::Automatic);
    EXPECT_EQ(QApplication::palette(), before);
}

TEST_F(HostAppearanceTest, automatic_themeIsDarkAlready_isLeftAsItIs)
{
    QApplication::setPalette(QPalette(QColor(40, 50, 60)));
    const QPalette theme = QApplication::palette();
    ASSERT_TRUE(isDark());
    const HostAppearance appearance(Appearance::Automatic);
    desktop.say(Appearance::Dark);
    EXPECT_EQ(QApplication::palette(), theme);
}

TEST_F(HostAppearanceTest, bothAppearances_haveReadableText)
{
    for (const Appearance asked : {Appearance::Dark, Appearance::Light}) {
        QApplication::setPalette(asked == Appearance::Light ? QPalette(QColor(40, 50, 60)) : QPalette());
        const HostAppearance appearance(asked);
        const QPalette palette = QApplication::palette();
        const std::pair<QPalette::ColorRole, QPalette::ColorRole> rows[] = {
            {QPalette::WindowText, QPalette::Window},       {QPalette::Text, QPalette::Base},
            {QPalette::Text, QPalette::AlternateBase},      {QPalette::ButtonText, QPalette::Button},
            {QPalette::ToolTipText, QPalette::ToolTipBase}, {QPalette::Link, QPalette::Window},
            {QPalette::PlaceholderText, QPalette::Window},  {QPalette::HighlightedText, QPalette::Highlight}};
        for (const auto &[text, ground] : rows) {
            EXPECT_GE(contrast(palette.color(text), palette.color(ground)), 4.0)
                << "roles " << text << " on " << ground << (asked == Appearance::Dark ? ", dark" : ", light");
        }
    }
}

TEST_F(HostAppearanceTest, fieldsAndBoxes_inLightAndDark_haveEdgesToBeSeen)
{
    for (const Appearance wanted : {Appearance::Dark, Appearance::Light}) {
        const HostAppearance appearance(wanted);
        QWidget window;
        QCheckBox box(&window);
        QLineEdit field(&window);
        for (QWidget *const widget : {static_cast<QWidget *>(&box), static_cast<QWidget *>(&field)}) {
            widget->resize(widget->sizeHint());
            const QImage image = widget->grab().toImage();
            const int middle = image.height() / 2;
            double best = 1;
            for (int x = 0; x < 6; ++x)
                best = std::max(best,
                                contrast(image.pixelColor(x, middle), QApplication::palette().color(QPalette::Window)));
            EXPECT_GE(best, wanted == Appearance::Dark ? 3 : 1.5) << widget->metaObject()->className();
        }
    }
}
