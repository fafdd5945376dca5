#include "Classes/PrefPane/EmptyListNote.h"
#include "Classes/PrefPane/FocusRing.h"
#include "Classes/PrefPane/FoldersArrayController.h"
#include "Classes/PrefPane/FoldersTableDelegate.h"
#include "Classes/PrefPane/IconButton.h"
#include "Classes/PrefPane/NoteLabel.h"
#include "Classes/PrefPane/PXDefaultsController.h"
#include "Classes/PrefPane/PXHistoryController.h"
#include "Classes/PrefPane/PaneColors.h"
#include "Platform/Fake/FakeFileSystem.h"
#include "Tests/Classes/PrefPane/PaneFixture.h"
#include "Tests/Support/FileContent.h"
#include "Tests/Support/HistoryFixture.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/WaitFor.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QStyleFactory>
#include <QTabWidget>
#include <QTableView>
#include <QTest>

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <set>

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

namespace fs = std::filesystem;

namespace {

class TamselPrefViewTest : public PaneFixture
{
protected:
    void show()
    {
        load();
        pane().didSelect();
        window.show();
        QApplication::setActiveWindow(&window);
        QCoreApplication::processEvents();
    }

    template <class Widget>
    Widget &find(const char *name)
    {
        Widget *const found = window.findChild<Widget *>(QString::fromLatin1(name));
        if (!found)
            throw std::runtime_error(std::string("no ") + name);
        return *found;
    }

    std::string text(const char *label) { return find<QLabel>(label).text().toStdString(); }

    /// The helper has recorded a folder.
    static void record(const std::string &folder, unsigned status, ByteCount savings, bool isWatched = true)
    {
        fs::create_directories(supportFolder());
        const auto database = HistoryFixture::openDatabase(supportFolder() / "history.db");
        const Result<qint64> key = database->addFolder(folder, {});
        ASSERT_TRUE(key);
        ASSERT_TRUE(database->setProgress(*key, status, savings));
        if (!isWatched) {
            ASSERT_TRUE(HistoryFixture::removeFolder(*database, folder));
        }
    }

    /// What the delegate draws in a row.
    std::vector<std::string> drawn(int row)
    {
        const QTableView &table = *pane().foldersTableView();
        std::vector<std::string> texts;
        for (int column = 0; column < table.model()->columnCount(); ++column)
            texts.push_back(table.model()->index(row, column).data(Qt::AccessibleTextRole).toString().toStdString());
        return texts;
    }

    /// Of the colours in `image` the one that differs most from `around`, by the ratio of their luminances.
    static double strongestContrast(const QImage &image, const QColor &around)
    {
        const auto luminance = [](const QColor &color) {
            const auto linear = [](double share) {
                return share <= 0.04 ? share / 12.92 : std::pow((share + 0.055) / 1.055, 2.4);
            };
            return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF()) +
                   0.05;
        };
        double strongest = 1;
        for (int x = 0; x < image.width(); ++x) {
            for (int y = 0; y < image.height(); ++y) {
                const double ratio = luminance(image.pixelColor(x, y)) / luminance(around);
                strongest = std::max(strongest, std::max(ratio, 1 / ratio));
            }
        }
        return strongest;
    }

    static PXDefaultsController *settings() { return PXDefaultsController::sharedDefaultsController(); }
};

} // namespace

TEST_F(TamselPrefViewTest, everyControl_hasAnAccessibleName)
{
    show();
    int count = 0;
    for (const QWidget *widget : window.findChildren<QWidget *>()) {
        const bool isControl = qobject_cast<const QAbstractButton *>(widget) ||
                               qobject_cast<const QTableView *>(widget) || widget->focusPolicy() == Qt::StrongFocus;
        if (!isControl || widget->objectName().startsWith(QStringLiteral("qt_")) || widget->inherits("QTabBar") ||
            widget->inherits("QTableCornerButton") || widget->inherits("QToolButton"))
            continue;
        EXPECT_FALSE(widget->accessibleName().isEmpty()) << widget->objectName().toStdString();
        ++count;
    }
    EXPECT_GE(count, 10);
}

TEST_F(TamselPrefViewTest, whatIsToBeRead_isSpokenToo)
{
    show();
    const auto nameOf = [](QWidget &widget) {
        return QAccessible::queryAccessibleInterface(&widget)->text(QAccessible::Name).toStdString();
    };
    EXPECT_EQ(nameOf(find<QLabel>("versionNumberTextField")), "1.2.3");
    EXPECT_EQ(nameOf(find<QLabel>("totalSavingsTextField")), "-");
    const std::string begin = pane().foldersTableView()->accessibleDescription().toStdString();
    EXPECT_THAT(begin, AllOf(HasSubstr("No folders yet"), HasSubstr("Drop folders here")));
    record("/srv/a", 40, 1500000000);
    hear("pellixSavingsChanged");
    EXPECT_EQ(nameOf(find<QLabel>("totalSavingsTextField")), "1.50 GB");
    EXPECT_EQ(pane().foldersTableView()->accessibleDescription(), QString());
}

TEST_F(TamselPrefViewTest, tab_reachesEveryControlOfAPage)
{
    loginWindow.addOther("a", "/opt/other/Other.app");
    show();
    pane().tabView()->setCurrentIndex(3);
    pane().toggleActiveButton()->setFocus(Qt::TabFocusReason);
    std::set<std::string> reached;
    for (int i = 0; i < 30 && QApplication::focusWidget(); ++i) {
        reached.insert(QApplication::focusWidget()->objectName().toStdString());
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    }
    for (const char *name : {"toggleActiveButton", "iconButton", "checkForUpdatesButton", "automaticUpdatesButton",
                             "autorunAtLoginButton", "visibleButton", "helpButton", "siteButton", "uninstallButton"})
        EXPECT_TRUE(reached.contains(name)) << name;
    pane().tabView()->setCurrentIndex(0);
    pane().foldersTableView()->setFocus(Qt::TabFocusReason);
    QTest::keyClick(pane().foldersTableView(), Qt::Key_Tab);
    EXPECT_FALSE(pane().foldersTableView()->hasFocus()) << "the table lets the focus go";
}

TEST_F(TamselPrefViewTest, tableReachedByKeyboard_showsThatItIs)
{
    show();
    QTableView &table = *pane().foldersTableView();
    const auto &ring = *table.findChild<FocusRing *>();
    EXPECT_FALSE(ring.isVisible());
    table.setFocus(Qt::TabFocusReason);
    EXPECT_TRUE(ring.isVisible());
    EXPECT_EQ(ring.geometry(), table.rect());
    table.clearFocus();
    EXPECT_FALSE(ring.isVisible());
    table.setFocus(Qt::MouseFocusReason);
    EXPECT_FALSE(ring.isVisible());
}

TEST_F(TamselPrefViewTest, emptyCheckBox_standsOutFromTheWindow)
{
    const std::unique_ptr<QStyle> style(QStyleFactory::create(QStringLiteral("Fusion")));
    loginWindow.addOther("a", "/opt/other/Other.app");
    show();
    auto &box = find<QCheckBox>("autorunAtLoginButton");
    ASSERT_FALSE(box.isChecked());
    box.setStyle(style.get());
    for (const QPalette &palette :
         {QPalette(QColor(0x3a, 0x3a, 0x3c), QColor(0x2b, 0x2b, 0x2d)), QPalette(QColor(0xef, 0xef, 0xef))}) {
        QApplication::setPalette(palette);
        QCoreApplication::processEvents();
        // As the guidelines for accessible contents want it of a control's edge.
        EXPECT_GE(strongestContrast(box.grab({0, 0, 16, box.height()}).toImage(), palette.color(QPalette::Window)), 3);
    }
}

TEST_F(TamselPrefViewTest, paletteThatChangesWhileShown_isFollowed)
{
    show();
    const QPalette dark(QColor(0x3a, 0x3a, 0x3c), QColor(0x2b, 0x2b, 0x2d));
    const QPalette light(QColor(0xef, 0xef, 0xef));
    for (const QPalette &palette : {dark, light, dark}) {
        QApplication::setPalette(palette);
        QCoreApplication::processEvents();
        for (const NoteLabel *note : window.findChildren<NoteLabel *>())
            EXPECT_EQ(note->palette().color(QPalette::WindowText).name(), secondaryText(palette).name())
                << note->text().toStdString();
        const QImage knob = pane().toggleActiveButton()->grab().toImage();
        const QImage track = pane().toggleActiveButton()->parentWidget()->grab({90, 0, 1, 148}).toImage();
        EXPECT_GT(knob.pixelColor(10, 12).lightness(), track.pixelColor(0, 49).lightness());
    }
}

TEST_F(TamselPrefViewTest, tabs_standInOrder)
{
    loadView();
    std::vector<std::string> titles;
    for (int i = 0; i < pane().tabView()->count(); ++i)
        titles.push_back(pane().tabView()->tabText(i).toStdString());
    EXPECT_THAT(titles, ElementsAre("History", "Exclusions", "Uncompress", "General"));
}

TEST_F(TamselPrefViewTest, exclusions_areCountedInTheFoldersThatAreWatchedByThen)
{
    const fs::path folder = PrivateHome::current().makeFolder("counted");
    writeFile(folder / "a.jpg", "x");
    fs::create_directories(supportFolder());
    writeFile(supportFolder() / "excludedExtensions.plist",
              "<plist version=\"1.0\"><array><string>jpg</string></array></plist>");
    show();
    find<QTableView>("extensionsTableView").selectRow(0);
    EXPECT_EQ(text("extensionsCount"), "");
    record(folder, 100, 0);
    hear("pellixSavingsChanged");
    EXPECT_TRUE(waitFor([&] { return text("extensionsCount").starts_with("Leaves out 1 file "); }, 60000));
}

TEST_F(TamselPrefViewTest, checkBoxes_changeTheSettingsAndFollowThem)
{
    show();
    journal.clear();
    find<QCheckBox>("automaticUpdatesButton").click();
    find<QCheckBox>("visibleButton").click();
    EXPECT_FALSE(settings()->checkForUpdates());
    EXPECT_FALSE(settings()->visible());
    EXPECT_THAT(journal.lines(), ElementsAre("post pellixHelperDisableUpdates", "post com.dovrane.tamsel.visible"));
    settings()->setCheckForUpdates(true);
    settings()->setVisible(true);
    EXPECT_TRUE(find<QCheckBox>("automaticUpdatesButton").isChecked());
    EXPECT_TRUE(find<QCheckBox>("visibleButton").isChecked());
}

TEST_F(TamselPrefViewTest, checkBoxes_toggledByAnAssistiveTechnology_changeTheSettings)
{
    loginWindow.addOther("a", "/opt/other/Other.app");
    show();
    journal.clear();
    for (const char *name : {"automaticUpdatesButton", "visibleButton", "autorunAtLoginButton"})
        toggleByAccessibleAction(find<QCheckBox>(name));
    EXPECT_FALSE(settings()->checkForUpdates());
    EXPECT_FALSE(settings()->visible());
    EXPECT_TRUE(pane().autorunAtLogin());
    EXPECT_THAT(journal.lines(), ElementsAre("post pellixHelperDisableUpdates", "post com.dovrane.tamsel.visible"));
}

TEST_F(TamselPrefViewTest, startAtLogin_showsWhatTheListHolds)
{
    loginWindow.addOther("a", "/opt/other/Other.app");
    show();
    auto &box = find<QCheckBox>("autorunAtLoginButton");
    EXPECT_FALSE(box.isChecked()) << "stored as wanted, but not in the list";
    box.click();
    EXPECT_TRUE(box.isChecked());
    EXPECT_TRUE(pane().autorunAtLogin());
    pane().toggleActive(nullptr);
    EXPECT_FALSE(box.isChecked()) << "switching off takes it from the list";
}

TEST_F(TamselPrefViewTest, startAtLoginWithoutAList_saysSoInsteadOfPretending)
{
    show();
    EXPECT_FALSE(find<QCheckBox>("autorunAtLoginButton").isEnabled());
    EXPECT_FALSE(find<QLabel>("autorunNote").isHidden());
}

TEST_F(TamselPrefViewTest, startAtLoginThatCannotBeStored_isShownUnchecked)
{
    loginWindow.addOther("a", "/opt/other/Other.app");
    show();
    fs::remove_all(helperPath());
    find<QCheckBox>("autorunAtLoginButton").click();
    EXPECT_FALSE(find<QCheckBox>("autorunAtLoginButton").isChecked());
}

TEST_F(TamselPrefViewTest, stateSentence_followsSwitchAndHelper)
{
    show();
    EXPECT_THAT(text("stateLabel"), HasSubstr("waits for folders"));
    workspace.end("com.dovrane.TamselHelper");
    EXPECT_THAT(text("stateLabel"), HasSubstr("not running"));
    pane().toggleActive(nullptr);
    EXPECT_THAT(text("stateLabel"), HasSubstr("Switched off"));
}

TEST_F(TamselPrefViewTest, emptyList_saysHowToBegin_untilThereIsAFolder)
{
    show();
    auto *const note = pane().foldersTableView()->findChild<EmptyListNote *>();
    EXPECT_TRUE(note->isVisible());
    EXPECT_EQ(note->size(), pane().foldersTableView()->viewport()->size());
    EXPECT_EQ(text("totalSavingsTextField"), "-");
    record("/srv/a", 40, 1500000000);
    hear("pellixSavingsChanged");
    EXPECT_FALSE(note->isVisible());
    EXPECT_EQ(text("totalSavingsTextField"), "1.50 GB");
    EXPECT_THAT(drawn(0), ElementsAre("a", "/srv/a", "40 %", "1.50 GB"));
    EXPECT_THAT(text("stateLabel"), HasSubstr("watches 1 folder."));
    EXPECT_EQ(text("folderCountLabel"), "1 folder");
}

TEST_F(TamselPrefViewTest, themeOfIconsThatChanges_isFollowed)
{
    show();
    const auto icons = [this] {
        const auto *const note = pane().foldersTableView()->findChild<EmptyListNote *>();
        return note->findChild<QLabel *>()->pixmap().toImage();
    };
    const QImage before = icons();
    int loads = 0;
    auto *const delegate = static_cast<FoldersTableDelegate *>(pane().foldersTableView()->itemDelegate());
    QObject::connect(delegate, &FoldersTableDelegate::iconsLoaded, [&] { ++loads; });
    const fs::path theme = PrivateHome::current().makeFolder("icons/Test");
    writeFile(theme / "index.theme", "[Icon Theme]\nName=Test\nDirectories=48\n[48]\nSize=48\nType=Fixed\n");
    fs::create_directory(theme / "48");
    QImage red(48, 48, QImage::Format_RGB32);
    red.fill(Qt::red);
    ASSERT_TRUE(red.save(QString::fromStdString((theme / "48/folder.png").native())));
    QIcon::setThemeSearchPaths({QString::fromStdString(theme.parent_path().native())});
    QIcon::setThemeName(QStringLiteral("Test"));
    EXPECT_EQ(icons(), before) << "nobody has been told";
    QEvent change(QEvent::ThemeChange);
    QCoreApplication::sendEvent(&window, &change);
    EXPECT_EQ(loads, 1);
    EXPECT_EQ(icons().pixelColor(24, 24), QColor(Qt::red));
}

TEST_F(TamselPrefViewTest, missingFolder_staysOnTheListAndComesBackWithItsVolume)
{
    const fs::path disk = PrivateHome::current().makeFolder("disk");
    fs::create_directories(disk / "folder");
    record((disk / "folder").native(), 40, 2000);
    show();
    const QModelIndex row = pane().foldersTableView()->model()->index(0, 0);
    const auto isMissing = [&] { return row.data(FoldersArrayController::MissingRole).toBool(); };
    fs::rename(disk, disk.native() + "-unplugged");
    workspace.changeVolumes();
    ASSERT_TRUE(waitFor(isMissing));
    EXPECT_EQ(pane().foldersTableView()->model()->rowCount(), 1);
    EXPECT_EQ(text("folderCountLabel"), "1 folder");
    fs::rename(disk.native() + "-unplugged", disk);
    workspace.changeVolumes();
    EXPECT_TRUE(waitFor([&] { return !isMissing(); }));
}

TEST_F(TamselPrefViewTest, refusedFolders_areNamedBelowTheTable)
{
    using Reason = FolderRefusal::Reason;
    show();
    const auto &line = find<QLabel>("refusalsLabel");
    EXPECT_FALSE(line.isVisible());
    const auto database = HistoryFixture::openDatabase(supportFolder() / "history.db");
    ASSERT_TRUE(database->setRefusals({{"/", Reason::WholeDisk}}));
    hear("pellixSavingsChanged");
    EXPECT_TRUE(line.isVisible());
    EXPECT_EQ(text("refusalsLabel"), "“/” was not added: it is the whole disk. Choose a folder in it.");
    ASSERT_TRUE(database->setRefusals({{"/usr", Reason::System}, {"/<b>", Reason::Missing}, {"/", Reason::WholeDisk}}));
    hear("pellixSavingsChanged");
    EXPECT_EQ(text("refusalsLabel"), "“/usr” was not added: it belongs to the system. And 2 more were not.");
    EXPECT_THAT(line.toolTip().toStdString(), HasSubstr("“/<b>” was not added: there is no such folder."));
    ASSERT_TRUE(database->setRefusals({}));
    hear("pellixSavingsChanged");
    EXPECT_FALSE(line.isVisible());
    EXPECT_EQ(host.attachedSheet(&window), nullptr) << "no question is asked";
}

TEST_F(TamselPrefViewTest, refusedFoldersWithLongNames_leaveTheWindowAsItIs)
{
    show();
    const int before = window.minimumSizeHint().width();
    const FolderRefusal refusal{"/srv/" + std::string(255, 'w'), FolderRefusal::Reason::Missing};
    const auto database = HistoryFixture::openDatabase(supportFolder() / "history.db");
    ASSERT_TRUE(database->setRefusals(std::vector(50, refusal)));
    hear("pellixSavingsChanged");
    ASSERT_TRUE(find<QLabel>("refusalsLabel").isVisible());
    EXPECT_EQ(window.minimumSizeHint().width(), before);
    EXPECT_LT(find<QLabel>("refusalsLabel").toolTip().count(u'\n'), 20);
}

TEST_F(TamselPrefViewTest, formerFolders_areSummedInAGreyRowThatCountsAsNone)
{
    record("/srv/a", 100, 2000);
    record("/srv/gone", 100, 1000, false);
    show();
    EXPECT_THAT(drawn(1), ElementsAre("Other", "Savings obtained from previously selected folders", "", "1000 b"));
    EXPECT_EQ(text("totalSavingsTextField"), "3.00 KB");
    EXPECT_EQ(text("folderCountLabel"), "1 folder");
    EXPECT_FALSE(pane().foldersTableView()->model()->index(1, 0).flags().testFlag(Qt::ItemIsSelectable));
}

TEST_F(TamselPrefViewTest, removedFolderWhosePlaceTheSumTakes_isCountedNoLonger)
{
    record("/srv/a", 100, 2000);
    record("/srv/gone", 100, 1000);
    show();
    EXPECT_EQ(text("folderCountLabel"), "2 folders");
    ASSERT_TRUE(
        HistoryFixture::removeFolder(*HistoryFixture::openDatabase(supportFolder() / "history.db"), "/srv/gone"));
    hear("pellixSavingsChanged");
    EXPECT_EQ(drawn(1).front(), "Other");
    EXPECT_EQ(text("folderCountLabel"), "1 folder");
    EXPECT_THAT(text("stateLabel"), HasSubstr("watches 1 folder."));
}

TEST_F(TamselPrefViewTest, helperOff_isShownInEveryRow)
{
    record("/srv/a", 40, 2000);
    show();
    pane().toggleActive(nullptr);
    EXPECT_THAT(drawn(0), ElementsAre("a", "/srv/a", "OFF", "2.00 KB"));
}

TEST_F(TamselPrefViewTest, painting_neverLooksAtTheFiles)
{
    record("/srv/a", 40, 2000);
    show();
    window.grab();
    fs::remove_all(bundlePath());
    FakeFileSystem nothing;
    const Override<FileSystem> installed(nothing);
    const QImage before = pane().iconButton()->grab().toImage();
    pane().iconButton()->update();
    EXPECT_EQ(pane().iconButton()->grab().toImage(), before);
    window.grab();
    EXPECT_EQ(nothing.calls(), 0);
}

TEST_F(TamselPrefViewTest, historyController_isMadeWithTheInterface)
{
    loadView();
    EXPECT_EQ(PXHistoryController::alloc(), nullptr);
    EXPECT_EQ(PXHistoryController::sharedHistoryController()->foldersTableView(), pane().foldersTableView());
}
