#include "Host/PreferencesWindow.h"

#include "Host/AboutPane.h"
#include "Host/HostSettings.h"
#include "Host/PaneGrid.h"
#include "Host/PanePage.h"
#include "Tests/Support/Panes/TestPanes.h"
#include "Tests/Support/PrivateHome.h"

#include <QApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QShortcutEvent>
#include <QToolButton>

#include <gmock/gmock.h>

#include <memory>

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::IsSupersetOf;

namespace {

class PreferencesWindowTest : public ::testing::Test
{
protected:
    PreferencesWindowTest()
    {
        one = makeTestPane(folder, "One", "com.one");
        two = makeTestPane(folder, "Two", "com.two");
    }

    PreferencesWindow &open()
    {
        window = std::make_unique<PreferencesWindow>(std::vector<Path>{folder}, settings);
        window->QWidget::show();
        return *window;
    }

    QToolButton *button(const char *name) const
    {
        for (QToolButton *const button : window->findChildren<QToolButton *>()) {
            if (button->accessibleName() == QLatin1String(name))
                return button;
        }
        return nullptr;
    }

    std::string current() const
    {
        return window->currentPage() ? window->currentPage()->name().toStdString() : std::string();
    }

    std::vector<std::string> icons() const
    {
        std::vector<std::string> names;
        for (const QToolButton *const icon : window->findChild<PaneGrid *>()->findChildren<QToolButton *>())
            names.push_back(icon->accessibleName().toStdString());
        return names;
    }

    Path folder = PrivateHome::current().makeFolder("panes");
    Path one;
    Path two;
    Recording recording;
    HostSettings settings{PrivateHome::current().root() / "settings.plist"};
    std::unique_ptr<PreferencesWindow> window;
};

} // namespace

TEST_F(PreferencesWindowTest, overview_listsItsOwnPaneAndThoseFound)
{
    open();
    EXPECT_THAT(icons(), ElementsAre("About this computer", "One", "Two"));
    EXPECT_THAT(recording.calls(), IsEmpty()) << "nothing is loaded before it is selected";
    EXPECT_EQ(window->windowTitle(), QStringLiteral("Preferences"));
    EXPECT_FALSE(button("Back")->isEnabled());
    EXPECT_FALSE(button("Show All")->isEnabled());
}

TEST_F(PreferencesWindowTest, icons_loadOnceAndSelectEachTime)
{
    open();
    button("One")->click();
    EXPECT_EQ(current(), "One");
    EXPECT_EQ(window->windowTitle(), QStringLiteral("One"));
    button("Show All")->click();
    EXPECT_EQ(current(), "");
    button("One")->click();
    EXPECT_THAT(recording.calls(), ElementsAre("com.one loadMainView", "com.one mainViewDidLoad", "com.one didSelect",
                                               "com.one didUnselect", "com.one didSelect"));
}

TEST_F(PreferencesWindowTest, changingPanes_leavesTheOldOneFirst)
{
    open();
    window->showPane("One");
    window->showPane("Two");
    window->showPane("Two");
    EXPECT_THAT(recording.calls(), ElementsAre("com.one loadMainView", "com.one mainViewDidLoad", "com.one didSelect",
                                               "com.one didUnselect", "com.two loadMainView", "com.two mainViewDidLoad",
                                               "com.two didSelect"));
}

TEST_F(PreferencesWindowTest, ownPane_takesPartInSelecting)
{
    open();
    button("One")->click();
    button("Show All")->click();
    button("About this computer")->click();
    EXPECT_EQ(current(), "About this computer");
    EXPECT_FALSE(window->findChild<QLabel *>(QStringLiteral("systemVersion"))->text().isEmpty());
    EXPECT_EQ(window->findChild<QLabel *>(QStringLiteral("supportFolder"))->text().toStdString(),
              PrivateHome::current().home().native() + "/.local/share/Tamsel");
    EXPECT_EQ(window->findChild<QLabel *>(QStringLiteral("sessionBus"))->text(), QStringLiteral("Not connected"));
}

TEST_F(PreferencesWindowTest, brokenPane_showsAMessageAndLeavesTheOthersUsable)
{
    makeTestPane(folder, "Bad", "com.bad", TestPlugin::Throwing);
    open();
    window->showPane("One");
    window->showPane("Bad");
    const auto *const reason = window->findChild<QLabel *>(QStringLiteral("faultReason"));
    ASSERT_NE(reason, nullptr);
    EXPECT_TRUE(reason->isVisible());
    window->showPane("One");
    EXPECT_EQ(recording.calls().back(), "com.one didSelect");
}

TEST_F(PreferencesWindowTest, showPane_unknown_saysSo)
{
    open();
    window->showPane("Nowhere");
    EXPECT_EQ(window->findChild<QLabel *>(QStringLiteral("faultReason"))->text(),
              QStringLiteral("There is no preference pane at Nowhere."));
    window->showAll();
    EXPECT_EQ(current(), "");
}

TEST_F(PreferencesWindowTest, showPane_pathOutsideItsFolders_isShownAndListed)
{
    const Path other = makeTestPane(PrivateHome::current().makeFolder("other"), "Three", "com.three");
    open();
    window->showPane(other);
    EXPECT_EQ(current(), "Three");
    window->showAll();
    EXPECT_THAT(icons(), ElementsAre("About this computer", "One", "Two", "Three"));
}

TEST_F(PreferencesWindowTest, showPane_anotherCopyOfAListedPane_takesItsPlace)
{
    const Path other = makeTestPane(PrivateHome::current().makeFolder("other"), "NewOne", "com.one");
    open();
    window->showPane(other);
    EXPECT_EQ(current(), "NewOne");
    EXPECT_EQ(recording.calls().back(), "com.one didSelect");
    window->showPane(one);
    EXPECT_TRUE(window->findChild<QLabel *>(QStringLiteral("faultReason"))->isVisible());
}

TEST_F(PreferencesWindowTest, handleRequest_loadedPane_isAskedWhereverTheUserIs)
{
    open();
    window->showPane("One");
    window->showPane("Two");
    window->handleRequest("com.one", "off");
    EXPECT_EQ(recording.calls().back(), "com.one request off");
    EXPECT_EQ(current(), "Two");
}

TEST_F(PreferencesWindowTest, handleRequest_paneNotLoadedYet_isShownFirst)
{
    open();
    window->handleRequest("com.one", "on");
    EXPECT_THAT(recording.calls(), ElementsAre("com.one loadMainView", "com.one mainViewDidLoad", "com.one didSelect",
                                               "com.one request on"));
}

TEST_F(PreferencesWindowTest, handleRequest_unknownPane_isLeft)
{
    open();
    window->handleRequest("com.nobody", "on");
    EXPECT_THAT(recording.calls(), IsEmpty());
}

TEST_F(PreferencesWindowTest, back_leadsThroughWhatWasShown)
{
    open();
    window->showPane("One");
    window->showPane("Two");
    window->showAll();
    for (const char *const expected : {"Two", "One", ""}) {
        EXPECT_TRUE(button("Back")->isEnabled());
        button("Back")->click();
        EXPECT_EQ(current(), expected);
    }
    EXPECT_FALSE(button("Back")->isEnabled());
}

TEST_F(PreferencesWindowTest, overview_lookedAtAgain_findsNewPanes)
{
    open();
    window->showPane("One");
    makeTestPane(folder, "Three", "com.three");
    std::filesystem::remove_all(two);
    window->showAll();
    EXPECT_THAT(icons(), ElementsAre("About this computer", "One", "Three"));
}

TEST_F(PreferencesWindowTest, lastPaneAndGeometry_areRemembered)
{
    open().resize(801, 555);
    window->showPane("Two");
    window->prepareToEnd();
    EXPECT_EQ(recording.calls().back(), "com.two didUnselect");
    EXPECT_FALSE(window->isVisible());
    window.reset();

    settings = HostSettings(PrivateHome::current().root() / "settings.plist");
    open().showLastPane();
    EXPECT_EQ(current(), "Two");
    EXPECT_EQ(window->size(), QSize(801, 555));
    window->showAll();
    window->prepareToEnd();
    window.reset();
    open().showLastPane();
    EXPECT_EQ(current(), "");
}

TEST_F(PreferencesWindowTest, lastPaneIsGone_showsTheOverview)
{
    settings.setLastPane((folder / "Gone.prefPane").native());
    settings.setWindowGeometry(bytesOf("nonsense"));
    open().showLastPane();
    EXPECT_EQ(current(), "");
}

TEST_F(PreferencesWindowTest, close_isLeftToTheApplication)
{
    open();
    int requests = 0;
    QObject::connect(window.get(), &PreferencesWindow::closeRequested, [&] { ++requests; });
    window->close();
    EXPECT_TRUE(window->isVisible());
    EXPECT_EQ(requests, 1);
}

TEST_F(PreferencesWindowTest, close_paneThatIsBusy_waitsUntilItAgrees)
{
    makeTestPane(folder, "Busy", "com.busy", TestPlugin::Recording, {{"IsBusy", true}});
    open();
    int requests = 0;
    QObject::connect(window.get(), &PreferencesWindow::closeRequested, [&] { ++requests; });
    window->showPane("com.busy");
    window->showPane("com.one");
    window->close();
    EXPECT_EQ(requests, 0) << "it is busy wherever the user is";
    window->handleRequest("com.busy", "done");
    EXPECT_EQ(requests, 1);
}

TEST_F(PreferencesWindowTest, everyControl_hasANameAndIsReachedByTab)
{
    open();
    window->showPane(AboutPane::kIdentifier);
    for (const QWidget *const widget : window->findChildren<QWidget *>()) {
        if (widget->isVisible() && widget->focusPolicy() & Qt::TabFocus && widget->isEnabled()) {
            EXPECT_FALSE(widget->accessibleName().isEmpty()) << widget->metaObject()->className();
        }
    }
    EXPECT_TRUE(button("Show All")->focusPolicy() & Qt::TabFocus);
}
