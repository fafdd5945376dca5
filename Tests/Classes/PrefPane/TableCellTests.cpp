#include "Classes/PrefPane/PXFoldersCell.h"
#include "Classes/PrefPane/PXPathCell.h"
#include "Classes/PrefPane/PXSavingsCell.h"
#include "Classes/PrefPane/PXStatusCell.h"

#include <QImage>

#include <gtest/gtest.h>

namespace {

constexpr double kTextHeight = 13.5;

double tenEach(const AttributedString &string)
{
    return 10.0 * double(string.length());
}

EllipsizedTexts inTens(tenEach);

QColor colorOf(const CellText &cell)
{
    return cell.text.runs().front().attributes.color;
}

/// A context whose named colours all differ.
CellContext context(const QString &value = {}, quint64 number = 0)
{
    CellContext context;
    context.stringValue = value;
    context.objectValue = number;
    context.state = true;
    context.palette.setColor(QPalette::Text, QColor(1, 1, 1));
    context.palette.setColor(QPalette::WindowText, QColor(1, 1, 1));
    context.palette.setColor(QPalette::Base, QColor(250, 250, 250));
    context.palette.setColor(QPalette::Window, QColor(240, 240, 240));
    context.palette.setColor(QPalette::Highlight, QColor(0, 0, 200));
    context.palette.setColor(QPalette::HighlightedText, QColor(255, 255, 200));
    return context;
}

CellContext highlighted(CellContext made)
{
    made.isHighlighted = true;
    return made;
}

CellContext disabled(CellContext made)
{
    made.isEnabled = false;
    return made;
}

CellContext missing(CellContext made)
{
    made.isMissing = true;
    return made;
}

CellContext off(CellContext made)
{
    made.state = false;
    return made;
}

QColor named(NamedColor name)
{
    return colorNamed(name, context().palette);
}

QImage draw(decltype(&PXStatusCell::drawInteriorWithFrame) drawInterior, const CellContext &context, double scale)
{
    const QRectF frame(0, 0, 40, 34);
    QImage image(int(frame.width() * scale), int(frame.height() * scale), QImage::Format_RGB32);
    image.setDevicePixelRatio(scale);
    image.fill(Qt::green);
    QPainter painter(&image);
    EllipsizedTexts texts;
    drawInterior(frame, context, texts, painter);
    return image;
}

const QRectF kFrame(100, 50, 121, 35);

} // namespace

TEST(PXFoldersCellTest, name_isTheLastComponentBesideTheIcon)
{
    const auto layout = PXFoldersCell::layout(kFrame, context(QStringLiteral("/home/ann/Docs")), kTextHeight, inTens);
    EXPECT_EQ(layout.name.text.text(), QStringLiteral("Docs"));
    EXPECT_EQ(layout.name.rect, QRectF(134, 61, 121, 35)); // 50 + floor((35 - 13) / 2), as wide as the frame
    EXPECT_EQ(layout.icon, QRectF(4, 55, 24, 24));
}

TEST(PXFoldersCellTest, name_tooLongForWhatTheIconLeaves_isShortened)
{
    const auto layout = PXFoldersCell::layout(kFrame, context(QStringLiteral("/a/Documents")), kTextHeight, inTens);
    EXPECT_EQ(layout.name.text.text(), QStringLiteral("Docum...")); // 87 points
}

TEST(PXFoldersCellTest, color_goesBySelectionThenStateThenExistence)
{
    const auto color = [](const CellContext &context) {
        return colorOf(PXFoldersCell::layout(kFrame, context, kTextHeight, inTens).name);
    };
    const CellContext folder = context(QStringLiteral("/a/b"));
    EXPECT_EQ(color(folder), named(NamedColor::ControlText));
    EXPECT_EQ(color(missing(folder)), named(NamedColor::Red));
    EXPECT_EQ(color(disabled(missing(folder))), named(NamedColor::Gray));
    EXPECT_EQ(color(highlighted(disabled(missing(folder)))), named(NamedColor::AlternateSelectedControlText));
}

TEST(PXPathCellTest, path_isWholeAndOnePointIn)
{
    const auto cell = PXPathCell::layout(kFrame, context(QStringLiteral("/home/ann")), kTextHeight, inTens);
    EXPECT_EQ(cell.text.text(), QStringLiteral("/home/ann"));
    EXPECT_EQ(cell.rect, QRectF(101, 60, 121, 35)); // 50 + floor(21.5 / 2)
}

TEST(PXPathCellTest, path_tooLong_isShortenedToTheWholeWidth)
{
    const auto cell = PXPathCell::layout(kFrame, context(QStringLiteral("/home/ann/Docs")), kTextHeight, inTens);
    EXPECT_EQ(cell.text.text(), QStringLiteral("/home/ann...")); // 120 of 121 points
}

TEST(PXPathCellTest, color_missingIsRed)
{
    const auto color = [](const CellContext &context) {
        return colorOf(PXPathCell::layout(kFrame, context, kTextHeight, inTens));
    };
    EXPECT_EQ(color(missing(context(QStringLiteral("/a")))), named(NamedColor::Red));
    EXPECT_EQ(color(disabled(missing(context(QStringLiteral("/a"))))), named(NamedColor::Gray));
}

TEST(PXSavingsCellTest, savings_areCentredBothWays)
{
    const auto cell = PXSavingsCell::layout(kFrame, context({}, 0), kTextHeight, inTens);
    EXPECT_EQ(cell.text.text(), QStringLiteral("-"));
    EXPECT_EQ(cell.rect, QRectF(155, 60, 121, 35)); // 100 + floor(111 / 2)
    EXPECT_EQ(PXSavingsCell::layout(kFrame, context({}, 4096), kTextHeight, inTens).text.text(),
              QStringLiteral("4.10 KB"));
}

TEST(PXSavingsCellTest, color_isNeverRed)
{
    const auto color = [](const CellContext &context) {
        return colorOf(PXSavingsCell::layout(kFrame, context, kTextHeight, inTens));
    };
    EXPECT_EQ(color(missing(context())), named(NamedColor::ControlText));
    EXPECT_EQ(color(disabled(context())), named(NamedColor::Gray));
    EXPECT_EQ(color(highlighted(context())), named(NamedColor::AlternateSelectedControlText));
}

TEST(PXStatusCellTest, nothing_ofADisabledRow)
{
    for (const CellContext &row : {disabled(context({}, 100)), disabled(off(context({}, 50)))}) {
        const auto layout = PXStatusCell::layout(kFrame, row, tenEach);
        EXPECT_FALSE(layout.off || layout.ring || layout.pie || layout.check);
    }
}

TEST(PXStatusCellTest, nothingDone_isARing)
{
    const auto layout = PXStatusCell::layout(kFrame, context({}, 0), tenEach);
    ASSERT_TRUE(layout.ring);
    EXPECT_EQ(layout.ring->path.boundingRect(), QRectF(152, 59, 16, 16)); // about 160, 67
    EXPECT_EQ(layout.ring->color, NamedColor::AlternateSelectedControl);
    EXPECT_FALSE(layout.pie || layout.check || layout.off);
}

TEST(PXStatusCellTest, part_isAPieFromTheTopClockwise)
{
    const auto pieOf = [](quint64 percent) { return PXStatusCell::layout(kFrame, context({}, percent), tenEach).pie; };
    const QPointF centre(160, 67);
    struct
    {
        quint64 percent;
        bool topRight, bottomRight, bottomLeft, topLeft;
    } const rows[] = {
        {25, true, false, false, false}, {50, true, true, false, false}, {75, true, true, true, false},
        {100, true, true, true, true},   {250, true, true, true, true},
    };
    for (const auto &row : rows) {
        const auto pie = pieOf(row.percent);
        ASSERT_TRUE(pie) << row.percent;
        EXPECT_EQ(pie->path.contains(centre + QPointF(3, -3)), row.topRight) << row.percent;
        EXPECT_EQ(pie->path.contains(centre + QPointF(3, 3)), row.bottomRight) << row.percent;
        EXPECT_EQ(pie->path.contains(centre + QPointF(-3, 3)), row.bottomLeft) << row.percent;
        EXPECT_EQ(pie->path.contains(centre + QPointF(-3, -3)), row.topLeft) << row.percent;
    }
    EXPECT_TRUE(pieOf(1)->path.contains(centre + QPointF(0.2, -7)));
    EXPECT_FALSE(pieOf(1)->path.contains(centre + QPointF(2, -7)));
    EXPECT_FALSE(pieOf(99)->path.contains(centre + QPointF(-0.2, -7)));
}

TEST(PXStatusCellTest, whole_isALightDiscWithAWhiteCheckMark)
{
    for (const quint64 percent : {100, 101, 250}) {
        const auto layout = PXStatusCell::layout(kFrame, context({}, percent), tenEach);
        ASSERT_TRUE(layout.ring && layout.pie && layout.check) << percent;
        EXPECT_EQ(layout.ring->color, NamedColor::SelectedControl);
        EXPECT_EQ(layout.pie->color, NamedColor::SelectedControl);
        EXPECT_EQ(layout.check->color, NamedColor::White);
        EXPECT_EQ(layout.check->path.boundingRect(), QRectF(156, 63, 8, 7));
    }
    EXPECT_FALSE(PXStatusCell::layout(kFrame, context({}, 99), tenEach).check);
}

TEST(PXStatusCellTest, onlyTheLower32Bits_count)
{
    EXPECT_FALSE(PXStatusCell::layout(kFrame, context({}, quint64(1) << 32), tenEach).pie);
}

TEST(PXStatusCellTest, highlighted_isWhiteWithABlackCheckMark)
{
    const auto layout = PXStatusCell::layout(kFrame, highlighted(disabled(context({}, 100))), tenEach);
    ASSERT_TRUE(layout.ring && layout.pie && layout.check);
    EXPECT_EQ(layout.ring->color, NamedColor::White);
    EXPECT_EQ(layout.pie->color, NamedColor::White);
    EXPECT_EQ(layout.check->color, NamedColor::Black);
}

TEST(PXStatusCellTest, helperOff_isAWordWhateverTheProgress)
{
    for (const quint64 percent : {0, 50, 100}) {
        const auto layout = PXStatusCell::layout(kFrame, off(context({}, percent)), tenEach);
        ASSERT_TRUE(layout.off) << percent;
        EXPECT_EQ(layout.off->text.text(), QStringLiteral("OFF"));
        // 100 + floor((121 - 30) / 2), 50 + floor((35 - 30) / 2) + 4: the width stands for the height
        EXPECT_EQ(layout.off->rect.topLeft(), QPointF(145, 56));
        EXPECT_EQ(colorOf(*layout.off), QColor(Qt::black));
        EXPECT_FALSE(layout.ring || layout.pie || layout.check);
    }
    const auto chosen = PXStatusCell::layout(kFrame, highlighted(off(context())), tenEach);
    EXPECT_EQ(colorOf(*chosen.off), QColor(Qt::white));
}

TEST(PXStatusCellTest, drawing_hasTheColoursOfTheLayoutAtEveryScale)
{
    for (const double scale : {1.0, 1.25, 2.0}) {
        const QImage image = draw(PXStatusCell::drawInteriorWithFrame, context({}, 50), scale);
        const auto at = [&](double x, double y) { return image.pixelColor(int(x * scale), int(y * scale)); };
        EXPECT_EQ(at(24, 17), named(NamedColor::AlternateSelectedControl)) << scale; // right of the centre (20, 17)
        EXPECT_EQ(at(16, 17), QColor(Qt::green)) << scale;
        EXPECT_EQ(at(30, 17), QColor(Qt::green)) << scale;
    }
}

TEST(PXStatusCellTest, drawing_ofADisabledRow_isNothing)
{
    QImage blank(40, 34, QImage::Format_RGB32);
    blank.fill(Qt::green);
    EXPECT_EQ(draw(PXStatusCell::drawInteriorWithFrame, disabled(context({}, 50)), 1), blank);
}
