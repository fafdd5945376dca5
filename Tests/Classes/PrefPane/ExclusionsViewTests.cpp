#include "Classes/PrefPane/ExclusionsView.h"

#include "Classes/PrefPane/ExclusionListPanel.h"
#include "Classes/PrefPane/FocusRing.h"
#include "Tests/Classes/PrefPane/ExclusionsFixture.h"
#include "Tests/Support/WaitFor.h"

#include <QClipboard>
#include <QLabel>
#include <QMimeData>
#include <QSignalSpy>
#include <QToolButton>
#include <QUrl>

namespace fs = std::filesystem;

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

namespace {

/// The whole page, over real files.
class ExclusionsViewTest : public ExclusionsFixture
{
protected:
    void show()
    {
        auto *const made = new PXExclusionsController;
        view = new ExclusionsView(&window);
        view->follow(made, [this] { return watched; });
        controllerOfView = made;
        paths = find<DVTableView>("pathsTableView");
        extensions = find<DVTableView>("extensionsTableView");
        (new QVBoxLayout(&window))->addWidget(view);
        host.setKeyWindow(&window);
        window.resize(700, 400);
        window.show();
        QApplication::setActiveWindow(&window);
        QCoreApplication::processEvents();
    }
    template <class Widget>
    Widget *find(const char *name) const
    {
        auto *const found = window.findChild<Widget *>(QString::fromLatin1(name));
        if (!found)
            throw std::runtime_error(std::string("no ") + name);
        return found;
    }
    std::string text(const char *label) const { return find<QLabel>(label)->text().toStdString(); }
    static void copy(const char *text)
    {
        auto *const data = new QMimeData;
        data->setText(QString::fromUtf8(text));
        QApplication::clipboard()->setMimeData(data);
    }

    std::vector<std::string> watched;
    ExclusionsView *view = nullptr;
    PXExclusionsController *controllerOfView = nullptr;
};

} // namespace

TEST_F(ExclusionsViewTest, addAndRemoveButtons_changeTheList)
{
    storeExtensions({"a", "b", "c"});
    show();
    EXPECT_FALSE(find<QToolButton>("extensionsRemove")->isEnabled());
    find<QToolButton>("extensionsAdd")->click();
    type(QStringLiteral("bb"));
    EXPECT_THAT(rows(extensions), ElementsAre("a", "b", "bb", "c"));
    QTest::keyClick(extensions, Qt::Key_Down, Qt::ShiftModifier);
    find<QToolButton>("extensionsRemove")->click();
    EXPECT_THAT(storedExtensions(), ElementsAre("a", "b")) << "two rows were selected";
}

TEST_F(ExclusionsViewTest, paste_ofPaths_addsThem)
{
    show();
    copy("/a\n/b c\nno path\n/\n");
    QTest::keyClick(paths, Qt::Key_V, Qt::ControlModifier);
    EXPECT_THAT(storedPaths(), ElementsAre("/a", "/b c"));
}

TEST_F(ExclusionsViewTest, paste_ofExtensions_addsThem)
{
    storeExtensions({"png"});
    show();
    copy(".jpg, *.PNG, png");
    QTest::keyClick(extensions, Qt::Key_V, Qt::ControlModifier);
    EXPECT_THAT(storedExtensions(), ElementsAre("png", "jpg", "PNG"));
}

TEST_F(ExclusionsViewTest, paste_thatAddsNothing_beeps)
{
    storeExtensions({"png"});
    storePaths({"/a"});
    show();
    for (DVTableView *const table : {paths, extensions}) {
        QSignalSpy beeps(table, &DVTableView::beeped);
        for (const char *text : {"", "?!", table == paths ? "/a" : "png"}) {
            copy(text);
            QTest::keyClick(table, Qt::Key_V, Qt::ControlModifier);
        }
        EXPECT_EQ(beeps.size(), 3);
        copy(table == paths ? "/b" : "b");
        QTest::keyClick(table, Qt::Key_V, Qt::ControlModifier);
        EXPECT_EQ(beeps.size(), 3);
    }
}

TEST_F(ExclusionsViewTest, nameThatIsNoText_isToldOfUnderItsTable)
{
    show();
    auto *const data = new QMimeData;
    data->setUrls({QUrl::fromEncoded("file:///a%FF.%FF")});
    QApplication::clipboard()->setMimeData(data);
    QTest::keyClick(paths, Qt::Key_V, Qt::ControlModifier);
    EXPECT_EQ(text("pathsNotice"),
              "a\xEF\xBF\xBD.\xEF\xBF\xBD was not added: the name is not in UTF-8, and the list holds no other.");
    EXPECT_TRUE(find<QLabel>("extensionsNotice")->isHidden());
    QTest::keyClick(extensions, Qt::Key_V, Qt::ControlModifier);
    EXPECT_THAT(text("extensionsNotice"), StartsWith("\xEF\xBF\xBD was not added"));
    const int width = window.minimumSizeHint().width();
    Q_EMIT controllerOfView->pathNotStorable(QStringLiteral("/a/") + QString(255, u'\uFFFD'));
    QCoreApplication::processEvents();
    EXPECT_EQ(window.minimumSizeHint().width(), width) << "a long name is no reason for a wider window";
}

TEST_F(ExclusionsViewTest, filter_showsWhatContainsItAndEscapeClearsIt)
{
    storeExtensions({"jpg", "JPEG", "png"});
    show();
    auto *const filter = find<QLineEdit>("extensionsFilter");
    QTest::keyClicks(filter, QStringLiteral("jp"));
    EXPECT_THAT(rows(extensions), ElementsAre("JPEG", "jpg"));
    QTest::keyClick(filter, Qt::Key_Escape);
    EXPECT_THAT(rows(extensions), ElementsAre("JPEG", "jpg", "png"));
    EXPECT_THAT(storedExtensions(), ElementsAre("jpg", "JPEG", "png"));
}

TEST_F(ExclusionsViewTest, filter_isEmptiedInItsFieldWhenAnEntryIsAdded)
{
    storeExtensions({"jpg"});
    show();
    find<QLineEdit>("extensionsFilter")->setText(QStringLiteral("x"));
    find<QToolButton>("extensionsAdd")->click();
    EXPECT_EQ(find<QLineEdit>("extensionsFilter")->text(), QString());
    type(QStringLiteral("y"));
    EXPECT_THAT(rows(extensions), ElementsAre("jpg", "y"));
}

TEST_F(ExclusionsViewTest, filter_hidesSelectedEntriesFromBeingRemoved)
{
    storeExtensions({"jpg", "png"});
    show();
    extensions->selectAll();
    find<QLineEdit>("extensionsFilter")->setText(QStringLiteral("pn"));
    QTest::keyClick(extensions, Qt::Key_Delete);
    EXPECT_THAT(storedExtensions(), ElementsAre("jpg"));
}

TEST_F(ExclusionsViewTest, selection_isCountedInTheWatchedFolders)
{
    const fs::path folder = PrivateHome::current().makeFolder("watched");
    for (const char *name : {"a.jpg", "b.jpg", "c.png", "d"})
        writeFile(folder / name, "x");
    watched = {folder};
    storeExtensions({"jpg", "png"});
    storePaths({folder / "d"});
    show();
    EXPECT_EQ(text("extensionsCount"), "");
    extensions->selectRow(0);
    const auto says = [this](const char *label, const char *sentence) {
        return waitFor([&] { return text(label) == sentence; }, 60000);
    };
    EXPECT_TRUE(says("extensionsCount", "Leaves out 2 files of the watched folders.")) << text("extensionsCount");
    extensions->selectAll();
    EXPECT_TRUE(says("extensionsCount", "Leaves out 3 files of the watched folders.")) << text("extensionsCount");
    paths->selectRow(0);
    EXPECT_TRUE(says("pathsCount", "Leaves out 1 file of the watched folders.")) << text("pathsCount");
    extensions->clearSelection();
    EXPECT_EQ(text("extensionsCount"), "");
}

TEST_F(ExclusionsViewTest, otherWatchedFolders_areCountedAnew)
{
    const fs::path folder = PrivateHome::current().makeFolder("watched-later");
    writeFile(folder / "a.jpg", "x");
    storeExtensions({"jpg"});
    show();
    extensions->selectRow(0);
    EXPECT_EQ(text("extensionsCount"), "");
    watched = {folder};
    view->watchedFoldersChanged();
    EXPECT_TRUE(waitFor([&] { return text("extensionsCount").starts_with("Leaves out 1 file"); }, 60000));
    view->watchedFoldersChanged();
    EXPECT_THAT(text("extensionsCount"), StartsWith("Leaves out 1 file")) << "they are the same";
    watched.clear();
    view->watchedFoldersChanged();
    EXPECT_EQ(text("extensionsCount"), "");
}

TEST_F(ExclusionsViewTest, nothingWatched_isNotCounted)
{
    storeExtensions({"jpg"});
    show();
    extensions->selectRow(0);
    EXPECT_EQ(text("extensionsCount"), "");
}

TEST_F(ExclusionsViewTest, otherFile_isToldOfUnderItsTable)
{
    storePaths({"/mine"});
    show();
    EXPECT_TRUE(find<QLabel>("pathsNotice")->isHidden());
    storePaths({"/theirs"});
    copy("/new");
    QTest::keyClick(paths, Qt::Key_V, Qt::ControlModifier);
    EXPECT_THAT(text("pathsNotice"), StartsWith("Another program had changed this list. Its version was kept as "
                                                "excludedPaths.plist.replaced-"));
    EXPECT_TRUE(find<QLabel>("pathsNotice")->isVisible());
    QCoreApplication::processEvents();
    EXPECT_EQ(paths->height(), extensions->height()) << "the line takes the room that was kept for one";
    EXPECT_TRUE(find<QLabel>("extensionsNotice")->isHidden());
}

TEST_F(ExclusionsViewTest, keyboardAlone_reachesEverythingAndEdits)
{
    storeExtensions({"a"});
    show();
    find<QLineEdit>("pathsFilter")->setFocus();
    std::vector<std::string> reached;
    for (int step = 0; step < 8 && QApplication::focusWidget(); ++step) {
        reached.push_back(QApplication::focusWidget()->objectName().toStdString());
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    }
    EXPECT_THAT(reached, ::testing::IsSupersetOf({"pathsFilter", "pathsTableView", "pathsAdd", "extensionsFilter",
                                                  "extensionsTableView", "extensionsAdd"}));
    extensions->setFocus();
    extensions->setCurrentIndex(extensions->model()->index(0, 0));
    QTest::keyClick(extensions, Qt::Key_F2);
    type(QStringLiteral("b"));
    EXPECT_THAT(storedExtensions(), ElementsAre("b"));
    EXPECT_EQ(QApplication::focusWidget(), extensions) << "the keys are the table's again";
}

TEST_F(ExclusionsViewTest, view_deletedWhileCountingAndEditing_isQuiet)
{
    watched = {"/usr"};
    storeExtensions({"h"});
    show();
    extensions->selectRow(0);
    waitFor([this] { return text("extensionsCount") != ""; });
    find<QToolButton>("extensionsAdd")->click();
    delete view;
    EXPECT_THAT(storedExtensions(), ElementsAre("h", "please_rename_me"));
}

TEST_F(ExclusionsViewTest, tableReachedByTheKeyboard_showsARing)
{
    storeExtensions({"a"});
    show();
    for (DVTableView *const table : {paths, extensions}) {
        auto *const ring = table->findChild<FocusRing *>();
        ASSERT_NE(ring, nullptr);
        table->setFocus(Qt::MouseFocusReason);
        EXPECT_FALSE(ring->isVisible()) << "a click needs none";
        find<QToolButton>("extensionsAdd")->setFocus();
        table->setFocus(Qt::TabFocusReason);
        EXPECT_TRUE(ring->isVisible());
        EXPECT_EQ(ring->size(), table->size());
        find<QToolButton>("extensionsAdd")->setFocus();
        EXPECT_FALSE(ring->isVisible());
    }
}
