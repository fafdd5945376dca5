// What the cells draw, beside pictures that are computed from the geometry, point by point or from plain text.
#include "Classes/PrefPane/PXFoldersCell.h"
#include "Classes/PrefPane/PXPathCell.h"
#include "Classes/PrefPane/PXSavingsCell.h"
#include "Classes/PrefPane/PXStatusCell.h"

#include <QFontMetricsF>
#include <QImage>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <vector>

namespace {

constexpr double kScales[] = {1, 1.25, 2};
constexpr QSize kCanvas(200, 40);

/// Neither its place nor its sides are round.
constexpr QRectF kFrame(3, 2, 121, 35);

CellContext withPalette(bool isDark)
{
    const auto color = [isDark](QRgb light, QRgb dark) { return QColor(isDark ? dark : light); };
    CellContext context;
    context.state = true;
    for (const auto role : {QPalette::Text, QPalette::WindowText})
        context.palette.setColor(role, color(0x1d1d1f, 0xf2f2f4));
    for (const auto role : {QPalette::Base, QPalette::Window})
        context.palette.setColor(role, color(0xffffff, 0x1e1e20));
    context.palette.setColor(QPalette::Highlight, color(0x0a64d8, 0x2f7bea));
    context.palette.setColor(QPalette::HighlightedText, color(0xfffffe, 0xfefeff));
    return context;
}

/// Every look that a row can have.
std::vector<CellContext> looks()
{
    std::vector<CellContext> looks;
    for (const bool isDark : {false, true}) {
        for (const bool isHighlighted : {false, true}) {
            for (const bool isEnabled : {true, false}) {
                for (const bool isMissing : {false, true}) {
                    CellContext context = withPalette(isDark);
                    context.isHighlighted = isHighlighted;
                    context.isEnabled = isEnabled;
                    context.isMissing = isMissing;
                    looks.push_back(context);
                }
            }
        }
    }
    return looks;
}

QColor background(const CellContext &context)
{
    return context.palette.color(context.isHighlighted ? QPalette::Highlight : QPalette::Base);
}

QImage blank(const CellContext &context, double scale)
{
    QImage image(kCanvas * scale, QImage::Format_RGB32);
    image.setDevicePixelRatio(scale);
    image.fill(background(context));
    return image;
}

QImage drawn(decltype(&PXPathCell::drawInteriorWithFrame) cell, const CellContext &context, double scale,
             const QRectF &frame = kFrame)
{
    QImage image = blank(context, scale);
    EllipsizedTexts texts;
    QPainter painter(&image);
    cell(frame, context, texts, painter);
    return image;
}

/// The largest difference of a colour's part anywhere, 0 to 255.
int difference(const QImage &left, const QImage &right)
{
    int largest = 0;
    for (int y = 0; y < left.height(); ++y) {
        for (int x = 0; x < left.width(); ++x) {
            const QColor one = left.pixelColor(x, y);
            const QColor other = right.pixelColor(x, y);
            largest = std::max({largest, std::abs(one.red() - other.red()), std::abs(one.green() - other.green()),
                                std::abs(one.blue() - other.blue())});
        }
    }
    return largest;
}

// Shapes, each told by whether a point lies in it.

using Shape = std::function<bool(QPointF fromCentre)>;

bool isOnRing(QPointF point)
{
    return std::abs(std::hypot(point.x(), point.y()) - 8) <= 0.5;
}

Shape pie(int percent)
{
    return [percent](QPointF point) {
        const double clockwise = std::fmod(std::atan2(point.x(), -point.y()) / M_PI * 180 + 360, 360);
        return std::hypot(point.x(), point.y()) <= 8 && clockwise <= percent * 3.6;
    };
}

/// A line two points wide with square corners, cut off at both ends.
bool isOnCheckMark(QPointF point)
{
    struct Leg
    {
        QPointF start, end;
        double length() const { return std::hypot((end - start).x(), (end - start).y()); }
        double along(QPointF p) const { return QPointF::dotProduct(p - start, end - start) / length(); }
        bool isBeside(QPointF p) const
        {
            const QPointF way = (end - start) / length();
            return std::abs((p - start).x() * way.y() - (p - start).y() * way.x()) <= 1;
        }
        bool holds(QPointF p) const { return isBeside(p) && along(p) >= 0 && along(p) <= length(); }
    };
    const Leg down{{-4, -1}, {-1, 3}};
    const Leg up{{-1, 3}, {4, -4}};
    const bool isCorner = down.isBeside(point) && up.isBeside(point) && down.along(point) > down.length() / 2 &&
                          up.along(point) < up.length() / 2;
    return down.holds(point) || up.holds(point) || isCorner;
}

/// Lays the shape over the picture, each pixel as far as it is covered.
void lay(QImage &image, QPointF centre, const Shape &shape, const QColor &color)
{
    constexpr int kSamples = 8;
    const double scale = image.devicePixelRatio();
    const QRect around = QRectF((centre - QPointF(10, 10)) * scale, QSizeF(20, 20) * scale).toAlignedRect();
    for (int y = around.top(); y <= around.bottom(); ++y) {
        for (int x = around.left(); x <= around.right(); ++x) {
            int hits = 0;
            for (int sample = 0; sample < kSamples * kSamples; ++sample) {
                const QPointF inPixel((sample % kSamples + 0.5) / kSamples, (sample / kSamples + 0.5) / kSamples);
                hits += shape((QPointF(x, y) + inPixel) / scale - centre) ? 1 : 0;
            }
            const double share = double(hits) / (kSamples * kSamples);
            const QColor below = image.pixelColor(x, y);
            const auto mix = [share](int from, int to) { return int(std::lround(from + (to - from) * share)); };
            image.setPixelColor(
                x, y,
                {mix(below.red(), color.red()), mix(below.green(), color.green()), mix(below.blue(), color.blue())});
        }
    }
}

QImage statusPicture(const CellContext &context, int percent, double scale)
{
    const QPointF centre(3 + 60, 2 + 17);
    const int shown = std::min(percent, 100);
    QColor color = context.isHighlighted ? QColor(Qt::white) : context.palette.color(QPalette::Highlight);
    if (shown == 100 && !context.isHighlighted)
        color = colorNamed(NamedColor::SelectedControl, context.palette);
    QImage image = blank(context, scale);
    lay(image, centre, isOnRing, color);
    if (shown > 0)
        lay(image, centre, pie(shown), color);
    if (shown == 100)
        lay(image, centre, isOnCheckMark, context.isHighlighted ? Qt::black : Qt::white);
    return image;
}

// Texts, written plainly.

double widthOfText(const QString &text)
{
    return QFontMetricsF(TextFieldCell::font()).horizontalAdvance(text);
}

QString shortened(QString text, double width)
{
    if (widthOfText(text) <= width)
        return text;
    do
        text = text.chopped(text.at(text.size() - 4).isLowSurrogate() ? 5 : 4) + QStringLiteral("...");
    while (widthOfText(text) > width);
    return text;
}

void write(QImage &image, QPointF corner, const QString &text, const QColor &color)
{
    QPainter painter(&image);
    painter.setFont(TextFieldCell::font());
    painter.setPen(color);
    painter.drawText(QPointF(corner.x(), corner.y() + QFontMetricsF(TextFieldCell::font()).ascent()), text);
}

QColor textColor(const CellContext &context, bool isPath)
{
    if (context.isHighlighted)
        return context.palette.color(QPalette::HighlightedText);
    if (!context.isEnabled)
        return colorNamed(NamedColor::Gray, context.palette);
    return isPath && context.isMissing ? colorNamed(NamedColor::Red, context.palette)
                                       : context.palette.color(QPalette::Text);
}

/// White when highlighted and black otherwise, which on a dark list is the colour that can be read.
QColor offColor(const CellContext &context)
{
    if (context.isHighlighted)
        return Qt::white;
    const QColor text = context.palette.color(QPalette::Text);
    return text.lightness() < 128 ? QColor(Qt::black) : text;
}

const QString kNames[] = {
    QStringLiteral("Docs"),
    QStringLiteral("A rather long name of a folder, longer than its column"),
    QStringLiteral("\u05D0\u05D1\u05D2\u05D3 \u05D4\u05D5\u05D6\u05D7\u05D8\u05D9\u05DA\u05DB\u05DC\u05DD\u05DE"),
    QStringLiteral("e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301"),
    QString(QStringLiteral("\U0001F4C1")).repeated(20),
};

} // namespace

TEST(TableCellPicture, status_isTheComputedShapes)
{
    constexpr int kTolerance = 48; // of two ways to smooth an edge
    for (const CellContext &look : looks()) {
        if (look.isMissing)
            continue; // that shows in texts alone
        for (const int percent : {0, 1, 25, 50, 99, 100, 250}) {
            for (const double scale : kScales) {
                CellContext context = look;
                context.objectValue = quint64(percent);
                const bool isNothing = !look.isEnabled && !look.isHighlighted;
                const QImage expected = isNothing ? blank(look, scale) : statusPicture(look, percent, scale);
                EXPECT_LE(difference(drawn(PXStatusCell::drawInteriorWithFrame, context, scale), expected),
                          isNothing ? 0 : kTolerance)
                    << percent << " % at " << scale << (look.isHighlighted ? ", highlighted" : "");
            }
        }
    }
}

TEST(TableCellPicture, statusOfAHelperThatIsOff_isTheWordAtThePlaceOfItsWidth)
{
    const QString word = QStringLiteral("OFF");
    const double width = widthOfText(word);
    const QPointF corner(3 + std::floor((121 - width) / 2), 2 + std::floor((35 - width) / 2) + 4);
    for (const CellContext &look : looks()) {
        for (const double scale : kScales) {
            CellContext context = look;
            context.state = false;
            context.objectValue = 100;
            QImage expected = blank(look, scale);
            if (look.isEnabled || look.isHighlighted)
                write(expected, corner, word, offColor(look));
            EXPECT_EQ(drawn(PXStatusCell::drawInteriorWithFrame, context, scale), expected) << scale;
        }
    }
}

TEST(TableCellPicture, folder_isItsNameBesideTheIcon)
{
    QPixmap red(72, 72);
    red.fill(Qt::red);
    const double height = QFontMetricsF(TextFieldCell::font()).height();
    const double top = 2 + std::floor((35 - std::trunc(height)) / 2);
    for (const CellContext &look : looks()) {
        for (const QString &name : kNames) {
            for (const double scale : {1.0, 2.0}) { // on others the icon's edge lies within a pixel
                CellContext context = look;
                context.stringValue = QStringLiteral("/home/ann/") + name;
                context.icon = QIcon(red);
                QImage expected = blank(look, scale);
                write(expected, {3 + 34, top}, shortened(name, 121 - 34), textColor(look, true));
                QPainter(&expected).fillRect(QRectF(4, top - 6, 24, 24), Qt::red);
                EXPECT_EQ(drawn(PXFoldersCell::drawInteriorWithFrame, context, scale), expected)
                    << name.toStdString() << " at " << scale;
            }
        }
    }
}

TEST(TableCellPicture, path_isOnePointIn)
{
    const double top = 2 + std::floor((35 - QFontMetricsF(TextFieldCell::font()).height()) / 2);
    for (const CellContext &look : looks()) {
        for (const QString &name : kNames) {
            for (const double scale : kScales) {
                CellContext context = look;
                context.stringValue = QStringLiteral("/a/") + name;
                QImage expected = blank(look, scale);
                write(expected, {3 + 1, top}, shortened(context.stringValue, 121), textColor(look, true));
                EXPECT_EQ(drawn(PXPathCell::drawInteriorWithFrame, context, scale), expected)
                    << name.toStdString() << " at " << scale;
            }
        }
    }
}

TEST(TableCellPicture, savings_areInTheMiddle)
{
    const double top = 2 + std::floor((35 - QFontMetricsF(TextFieldCell::font()).height()) / 2);
    const std::pair<quint64, QString> rows[] = {{0, QStringLiteral("-")}, {1500000000, QStringLiteral("1.50 GB")}};
    for (const CellContext &look : looks()) {
        for (const auto &[savings, text] : rows) {
            for (const double scale : kScales) {
                CellContext context = look;
                context.objectValue = savings;
                QImage expected = blank(look, scale);
                write(expected, {3 + std::floor((121 - widthOfText(text)) / 2), top}, text, textColor(look, false));
                EXPECT_EQ(drawn(PXSavingsCell::drawInteriorWithFrame, context, scale), expected) << scale;
            }
        }
    }
}

TEST(TableCellPicture, columnTooNarrowForDots_leavesTheNextOneAlone)
{
    CellContext context = withPalette(false);
    context.stringValue = kNames[1];
    for (const double width : {40.0, 10.0}) {
        const QImage image = drawn(PXPathCell::drawInteriorWithFrame, context, 1, QRectF(0, 0, width, 35));
        for (int x = int(width) + 1; x < image.width(); ++x) {
            for (int y = 0; y < image.height(); ++y)
                ASSERT_EQ(image.pixelColor(x, y), background(context)) << x << ", " << width << " wide";
        }
    }
}
