#include "Classes/PrefPane/FoldersTableDelegate.h"

#include "Classes/PrefPane/FoldersArrayController.h"
#include "Classes/PrefPane/PXPathCell.h"
#include "Classes/PrefPane/PXSavingsCell.h"
#include "Classes/PrefPane/PXStatusCell.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/WaitFor.h"

#include <QImage>
#include <QPixmapCache>
#include <QStringListModel>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;

namespace {

/// Greys the second row.
class SecondIsOther final : public FoldersTableRules
{
public:
    void tableViewWillDisplayCell(HistoryCell &cell, int, int row) const override
    {
        cell.isEnabled = row != 1;
        cell.state = true;
    }
    bool tableViewShouldSelectRow(int row) const override { return row != 1; }
};

/// A row of which only the kind of its file is known.
class KindOfFile final : public QStringListModel
{
public:
    explicit KindOfFile(QStringList names)
        : QStringListModel({QStringLiteral("/a")})
        , m_names(std::move(names))
    {
    }
    QVariant data(const QModelIndex &index, int role) const override
    {
        return role == FoldersArrayController::IconRole ? QVariant(m_names) : QStringListModel::data(index, role);
    }

private:
    QStringList m_names;
};

/// Under a theme of the desktop that has a red folder and a blue document, of two sizes.
class FoldersTableDelegateTest : public ::testing::Test
{
protected:
    FoldersTableDelegateTest()
    {
        makeTheme(Qt::red);
        array.setRules(&rules);
        array.setContent({{0, "/a", "/a", 0, 0, true}, {1, "Other", "former ones", 100, 5, std::nullopt}});
    }

    /// Makes it the theme of the desktop; each has a name of its own.
    void makeTheme(Qt::GlobalColor folderColor, Qt::GlobalColor musicColor = Qt::cyan)
    {
        const std::string name = "Test" + std::to_string(folderColor);
        theme = PrivateHome::current().makeFolder("icons/" + name);
        std::ofstream index(theme / "index.theme");
        index << "[Icon Theme]\nName=Test\nComment=\nDirectories=24,48\n";
        for (const int size : {24, 48}) {
            const std::string folder = std::to_string(size);
            index << '[' << folder << "]\nSize=" << size << "\nType=Fixed\n";
            fs::create_directories(theme / folder);
            save(theme / folder / "folder.png", size, folderColor);
            save(theme / folder / "folder-music.png", size, musicColor);
            save(theme / folder / "text-x-generic.png", size, Qt::blue);
            save(theme / folder / "text-x-test.png", size, Qt::yellow);
        }
        index.close();
        QIcon::setThemeSearchPaths({QString::fromStdString(theme.parent_path().native())});
        QIcon::setThemeName(QString::fromStdString(name));
    }

    static void save(const fs::path &file, int size, Qt::GlobalColor color)
    {
        QImage image(size, size, QImage::Format_RGB32);
        image.fill(color);
        ASSERT_TRUE(image.save(QString::fromStdString(file.native())));
    }

    static QImage canvas(double scale)
    {
        QImage image(QSize(200, 34) * scale, QImage::Format_RGB32);
        image.setDevicePixelRatio(scale);
        image.fill(Qt::white);
        return image;
    }
    static QImage drawn(const FoldersTableDelegate &delegate, const QModelIndex &index, double scale,
                        QStyleOptionViewItem option = {})
    {
        QImage image = canvas(scale);
        QPainter painter(&image);
        option.rect = QRect(0, 0, 200, 34);
        delegate.paint(&painter, option, index);
        return image;
    }
    /// The colour in the middle of the row's icon.
    QColor iconColor(const FoldersTableDelegate &delegate, int row, double scale) const
    {
        return drawn(delegate, array.index(row, FoldersArrayController::FolderColumn), scale)
            .pixelColor(int(16 * scale), int(17 * scale));
    }

    /// The colour of the icon for a file of that kind.
    QColor iconColor(const FoldersTableDelegate &delegate, const QStringList &names, double scale = 1) const
    {
        KindOfFile model(names);
        return drawn(delegate, model.index(0, FoldersArrayController::FolderColumn), scale)
            .pixelColor(int(16 * scale), int(17 * scale));
    }

    const QStringList music = {QStringLiteral("folder-music"), QStringLiteral("folder")};
    fs::path theme;
    SecondIsOther rules;
    FoldersArrayController array;
};

} // namespace

TEST_F(FoldersTableDelegateTest, icons_areThoseOfTheDesktopsTheme)
{
    const FoldersTableDelegate delegate;
    for (const double scale : {1.0, 1.25, 2.0}) {
        EXPECT_EQ(iconColor(delegate, 0, scale), QColor(Qt::red)) << scale;
        EXPECT_EQ(iconColor(delegate, 1, scale), QColor(Qt::blue)) << scale;
    }
}

TEST_F(FoldersTableDelegateTest, iconsForKindsOfFiles_comeAfterThePaintingThatWantsThem)
{
    const QString c = QStringLiteral("text-x-nobody-has-it");
    const std::pair<QStringList, Qt::GlobalColor> rows[] = {
        {music, Qt::cyan},
        {{QStringLiteral("folder-of-a-kind"), QStringLiteral("folder")}, Qt::red},
        {{QStringLiteral("text-x-test"), QStringLiteral("text-x-generic")}, Qt::yellow},
        {{c, QStringLiteral("text-x-generic")}, Qt::blue},
        {{c, c}, Qt::blue},
    };
    const FoldersTableDelegate delegate;
    int loads = 0;
    QObject::connect(&delegate, &FoldersTableDelegate::iconsLoaded, [&] { ++loads; });
    for (const auto &[names, color] : rows)
        EXPECT_EQ(iconColor(delegate, names), QColor(Qt::red)) << names.first().toStdString();
    ASSERT_TRUE(waitFor([&] { return loads > 0; }));
    fs::remove_all(theme);
    QPixmapCache::clear();
    for (const auto &[names, color] : rows) {
        for (const double scale : {1.0, 1.25, 2.0})
            EXPECT_EQ(iconColor(delegate, names, scale), QColor(color)) << names.first().toStdString() << scale;
    }
    runFor(20);
    EXPECT_EQ(loads, 1) << "they are kept";
}

TEST_F(FoldersTableDelegateTest, themeThatChanges_givesTheIconsForKindsOfFilesToo)
{
    FoldersTableDelegate delegate;
    iconColor(delegate, music);
    ASSERT_TRUE(waitFor([&] { return iconColor(delegate, music) == QColor(Qt::cyan); }));
    makeTheme(Qt::green, Qt::magenta);
    delegate.loadIcons();
    EXPECT_EQ(iconColor(delegate, music), QColor(Qt::magenta));
}

TEST_F(FoldersTableDelegateTest, themeThatChanges_isFollowedWhenTold)
{
    FoldersTableDelegate delegate;
    makeTheme(Qt::green);
    EXPECT_EQ(iconColor(delegate, 0, 1), QColor(Qt::red));
    delegate.loadIcons();
    EXPECT_EQ(iconColor(delegate, 0, 1), QColor(Qt::green));
}

TEST_F(FoldersTableDelegateTest, columns_areDrawnByTheirCells)
{
    const FoldersTableDelegate delegate;
    EllipsizedTexts texts;
    CellContext context;
    context.stringValue = QStringLiteral("/a");
    context.objectValue = 50;
    context.state = true;
    context.palette = QStyleOptionViewItem().palette;
    array.setContent({{0, "/a", "/a", 50, 50, true}});
    const decltype(&PXPathCell::drawInteriorWithFrame) cells[] = {nullptr, PXPathCell::drawInteriorWithFrame,
                                                                  PXStatusCell::drawInteriorWithFrame,
                                                                  PXSavingsCell::drawInteriorWithFrame};
    for (int column = FoldersArrayController::PathColumn; column < FoldersArrayController::kColumnCount; ++column) {
        QImage expected = canvas(1);
        QPainter painter(&expected);
        cells[column](QRectF(0, 0, 200, 34), context, texts, painter);
        painter.end();
        EXPECT_EQ(drawn(delegate, array.index(0, column), 1), expected) << column;
    }
}

TEST_F(FoldersTableDelegateTest, selectionInAWindowWithoutTheKeys_isAsStrongAsElsewhere)
{
    const FoldersTableDelegate delegate;
    QStyleOptionViewItem option;
    option.state = QStyle::State_Enabled | QStyle::State_Selected;
    option.palette.setColor(QPalette::Active, QPalette::Highlight, Qt::darkBlue);
    option.palette.setColor(QPalette::Inactive, QPalette::Highlight, Qt::lightGray);
    const QImage image = drawn(delegate, array.index(0, FoldersArrayController::StatusColumn), 1, option);
    EXPECT_EQ(image.pixelColor(3, 3), QColor(Qt::darkBlue));
}

TEST_F(FoldersTableDelegateTest, painting_needsNoFileOfTheTheme)
{
    const FoldersTableDelegate delegate;
    fs::remove_all(theme);
    QPixmapCache::clear();
    for (const double scale : {1.0, 2.0})
        EXPECT_EQ(iconColor(delegate, 0, scale), QColor(Qt::red)) << scale;
}
