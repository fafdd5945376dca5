// Choosing, dropping, pasting and removing folders in the pane.
#include "Classes/PrefPane/OpenPanel.h"
#include "Classes/PrefPane/PXHistoryController.h"
#include "Platform/Fake/FakeVolumes.h"
#include "Tests/Classes/PrefPane/PaneFixture.h"
#include "Tests/Support/FileContent.h"
#include "Tests/Support/HistoryFixture.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/WaitFor.h"

#include <QApplication>
#include <QClipboard>
#include <QDialogButtonBox>
#include <QDir>
#include <QDropEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMimeData>
#include <QPushButton>
#include <QTabBar>
#include <QTabWidget>
#include <QTest>
#include <QToolButton>
#include <QToolTip>

#include <gmock/gmock.h>

namespace fs = std::filesystem;

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

/// Everything lies on the boot volume, so that no questions are asked.
class TamselPrefFoldersTest : public PaneFixture
{
protected:
    TamselPrefFoldersTest()
    {
        volumes.volumes = {{.mountPoint = "/"}};
        fs::create_directories(first);
        fs::create_directories(second);
        writeFile(file, "x");
        load();
        window.show();
        QApplication::setActiveWindow(&window);
        QCoreApplication::processEvents();
        center.clearPosts();
    }

    static QList<QUrl> urls(const std::vector<fs::path> &files)
    {
        QList<QUrl> urls;
        for (const fs::path &each : files)
            urls.append(QUrl::fromLocalFile(QString::fromStdString(each.native())));
        return urls;
    }

    DVTableView &table() { return *pane().foldersTableView(); }

    /// Moves what is dragged over the table and answers what it would do with it.
    std::optional<Qt::DropAction> dragOver(const QMimeData &data)
    {
        QDragEnterEvent enter({10, 10}, Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(table().viewport(), &enter);
        QDragMoveEvent move({12, 12}, Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(table().viewport(), &move);
        EXPECT_EQ(enter.isAccepted(), move.isAccepted());
        return move.isAccepted() ? std::optional(move.dropAction()) : std::nullopt;
    }

    bool drop(const QMimeData &data)
    {
        QDropEvent event({12, 12}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(table().viewport(), &event);
        return event.isAccepted();
    }

    /// What the helper is asked to add, in the order of the requests.
    std::vector<std::string> asked(const char *key = "foldersToAdd") const
    {
        std::vector<std::string> folders;
        for (const Notification &notification : center.posts()) {
            const auto found = notification.userInfo.find(key);
            if (notification.name != "com.dovrane.pellix.folders" || found == notification.userInfo.end())
                continue;
            for (const std::string &folder : std::get<std::vector<std::string>>(found->second))
                folders.push_back(folder);
        }
        return folders;
    }
    bool waitUntilAsked() const
    {
        return waitFor([this] { return !asked().empty(); });
    }

    OpenPanel *panel() { return qobject_cast<OpenPanel *>(host.attachedSheet(&window)); }

    const fs::path first = PrivateHome::current().home() / "First";
    const fs::path second = PrivateHome::current().home() / "Second folder";
    const fs::path file = PrivateHome::current().home() / "file.txt";
    FakeVolumes volumes;
    Override<Volumes> installedVolumes{volumes};
};

} // namespace

// Dropping

TEST_F(TamselPrefFoldersTest, drop_foldersAndFiles_addsTheFoldersAndComesToTheFront)
{
    QMimeData data;
    data.setUrls(urls({second, file, first}));
    EXPECT_EQ(dragOver(data), Qt::CopyAction);
    const std::size_t activations = host.activations().size();
    EXPECT_TRUE(drop(data));
    ASSERT_TRUE(waitUntilAsked());
    EXPECT_THAT(asked(), ElementsAre(second.native(), first.native()));
    ASSERT_EQ(host.activations().size(), activations + 1);
    EXPECT_TRUE(host.activations().back());
}

TEST_F(TamselPrefFoldersTest, drop_ontoARow_addsToTheListAsAWholeWhatIsWatchedAlreadyToo)
{
    const auto database = HistoryFixture::openDatabase(supportFolder() / "history.db");
    ASSERT_TRUE(database->addFolder(first.native(), {}));
    hear("pellixSavingsChanged");
    ASSERT_EQ(table().model()->rowCount(), 1);
    EXPECT_TRUE(table().visualRect(table().model()->index(0, 0)).contains(12, 12));
    QMimeData data;
    data.setUrls(urls({second, first}));
    EXPECT_EQ(dragOver(data), Qt::CopyAction);
    EXPECT_TRUE(drop(data));
    ASSERT_TRUE(waitUntilAsked());
    EXPECT_THAT(asked(), ElementsAre(second.native(), first.native()));
    EXPECT_THAT(asked("foldersToRemove"), IsEmpty());
}

TEST_F(TamselPrefFoldersTest, drop_onlyFiles_isRefused)
{
    QMimeData data;
    data.setUrls(urls({file, "/nowhere/at/all"}));
    EXPECT_EQ(dragOver(data), std::nullopt);
    EXPECT_FALSE(drop(data));
    QMimeData text;
    text.setText(QString::fromStdString(first.native()));
    EXPECT_EQ(dragOver(text), std::nullopt);
    QMimeData elsewhere;
    elsewhere.setUrls({QUrl(QStringLiteral("http://example.com/tmp"))});
    EXPECT_EQ(dragOver(elsewhere), std::nullopt);
    runFor(30);
    EXPECT_THAT(asked(), IsEmpty());
}

TEST_F(TamselPrefFoldersTest, drop_whereOnlyMovingIsOffered_isRefused)
{
    QMimeData data;
    data.setUrls(urls({first}));
    QDragEnterEvent enter({10, 10}, Qt::MoveAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(table().viewport(), &enter);
    EXPECT_FALSE(enter.isAccepted());
}

TEST_F(TamselPrefFoldersTest, drop_ofTheTableItself_isRefused)
{
    QMimeData data;
    data.setUrls(urls({first}));
    EXPECT_FALSE(pane().tableViewAcceptDrop(table(), data, &table()));
    EXPECT_TRUE(pane().tableViewAcceptDrop(table(), data, nullptr));
}

TEST_F(TamselPrefFoldersTest, foldersInPasteboard_tellsNoFilesFromNoFolders)
{
    QMimeData data;
    EXPECT_EQ(TamselPref::foldersInPasteboard(data), std::nullopt);
    data.setUrls(urls({file}));
    EXPECT_THAT(TamselPref::foldersInPasteboard(data), ::testing::Optional(IsEmpty()));
    fs::create_directory_symlink(first, second / "link");
    data.setUrls(urls({second / "link", first}));
    EXPECT_THAT(TamselPref::foldersInPasteboard(data),
                ::testing::Optional(ElementsAre((second / "link").native(), first.native())));
}

TEST_F(TamselPrefFoldersTest, dropAndPaste_folderWhosePathIsNoText_isSaidAndTheOthersAreAdded)
{
    const fs::path latin = PrivateHome::current().home() / "caf\xe9";
    fs::create_directories(latin);
    auto *const data = new QMimeData;
    data->setUrls(
        {QUrl(QString::fromStdString("file://" + latin.parent_path().native() + "/caf%E9"), QUrl::StrictMode)});
    QApplication::clipboard()->setMimeData(data);
    const auto isSaid = [&] {
        return PXHistoryController::sharedHistoryController()->refusals() ==
               std::vector<FolderRefusal>{{latin.native(), FolderRefusal::Reason::NotText}};
    };
    QTest::keyClick(&table(), Qt::Key_V, Qt::ControlModifier);
    EXPECT_TRUE(waitFor(isSaid));
    QMimeData both;
    both.setUrls(urls({first}) + data->urls());
    EXPECT_EQ(dragOver(both), Qt::CopyAction);
    EXPECT_TRUE(drop(both));
    ASSERT_TRUE(waitUntilAsked());
    EXPECT_THAT(asked(), ElementsAre(first.native()));
    EXPECT_TRUE(isSaid());
    const auto *const line = window.findChild<QLabel *>(QStringLiteral("refusalsLabel"));
    EXPECT_TRUE(line->text().contains(QLatin1String("is no text"))) << line->text().toStdString();
}

// Pasting and keys

TEST_F(TamselPrefFoldersTest, paste_ofCopiedFolders_addsThem)
{
    auto *const data = new QMimeData;
    data->setUrls(urls({first, file}));
    QApplication::clipboard()->setMimeData(data);
    QTest::keyClick(&table(), Qt::Key_V, Qt::ControlModifier);
    ASSERT_TRUE(waitUntilAsked());
    EXPECT_THAT(asked(), ElementsAre(first.native()));
}

TEST_F(TamselPrefFoldersTest, paste_keysElsewhereInTheTab_addsThem)
{
    auto *const data = new QMimeData;
    data->setUrls(urls({second}));
    QApplication::clipboard()->setMimeData(data);
    auto *const tab = window.findChild<QTabWidget *>(QStringLiteral("tabView"));
    auto *const button = window.findChild<QToolButton *>(QStringLiteral("addFolderButton"));
    for (QWidget *const place : {static_cast<QWidget *>(tab->tabBar()), static_cast<QWidget *>(button)}) {
        center.clearPosts();
        place->setFocus(Qt::TabFocusReason);
        QTest::keyClick(place, Qt::Key_V, Qt::ControlModifier);
        ASSERT_TRUE(waitUntilAsked()) << place->objectName().toStdString();
        EXPECT_THAT(asked(), ElementsAre(second.native()));
    }
    center.clearPosts();
    tab->setCurrentIndex(1);
    QTest::keyClick(tab->tabBar(), Qt::Key_V, Qt::ControlModifier);
    runFor(30);
    EXPECT_THAT(asked(), IsEmpty()) << "the list is not to be seen";
}

TEST_F(TamselPrefFoldersTest, paste_withoutAFolder_asksForNothing)
{
    QApplication::clipboard()->setText(QStringLiteral("no path"));
    int beeps = 0;
    QObject::connect(&table(), &DVTableView::beeped, [&] { ++beeps; });
    QTest::keyClick(&table(), Qt::Key_V, Qt::ControlModifier);
    EXPECT_EQ(beeps, 1);
    runFor(30);
    EXPECT_THAT(center.posts(), IsEmpty());
}

TEST_F(TamselPrefFoldersTest, insertKey_opensThePanel)
{
    QTest::keyClick(&table(), Qt::Key_Insert);
    EXPECT_NE(panel(), nullptr);
}

TEST_F(TamselPrefFoldersTest, deleteKeyAndButton_removeWhatIsSelected)
{
    const auto database = HistoryFixture::openDatabase(supportFolder() / "history.db");
    ASSERT_TRUE(database->addFolder(first.native(), {}));
    ASSERT_TRUE(database->addFolder(second.native(), {}));
    hear("pellixSavingsChanged");
    auto *const button = window.findChild<QToolButton *>(QStringLiteral("removeFolderButton"));
    ASSERT_NE(button, nullptr);
    EXPECT_FALSE(button->isEnabled());
    table().setFocus();
    QTest::keyClick(&table(), Qt::Key_Down);
    QTest::keyClick(&table(), Qt::Key_Up);
    EXPECT_TRUE(button->isEnabled());
    QTest::keyClick(&table(), Qt::Key_Delete);
    EXPECT_THAT(asked("foldersToRemove"), ElementsAre(first.native()));
    EXPECT_FALSE(button->isEnabled()) << "nothing is selected any more";
    table().selectAll();
    button->click();
    EXPECT_THAT(asked("foldersToRemove"), ElementsAre(first.native(), first.native(), second.native()));
}

// Choosing

TEST_F(TamselPrefFoldersTest, addFolder_panel_isASheetThatStartsAtHomeAndShowsFoldersOnly)
{
    window.findChild<QToolButton *>(QStringLiteral("addFolderButton"))->click();
    ASSERT_NE(panel(), nullptr);
    EXPECT_EQ(panel()->directory().absolutePath().toStdString(), PrivateHome::current().home().native());
    EXPECT_EQ(panel()->fileMode(), QFileDialog::Directory);
    EXPECT_TRUE(panel()->testOption(QFileDialog::ShowDirsOnly));
    EXPECT_FALSE(panel()->testOption(QFileDialog::ReadOnly)) << "folders can be made";
}

TEST_F(TamselPrefFoldersTest, addFolder_severalChosen_addsThem)
{
    pane().addFolder();
    panel()->show();
    auto *const list = panel()->findChild<QListView *>(QStringLiteral("listView"));
    ASSERT_TRUE(waitFor([&] { return list->model()->rowCount(list->rootIndex()) >= 2; }));
    for (int row = 0; row < list->model()->rowCount(list->rootIndex()); ++row) {
        const QModelIndex index = list->model()->index(row, 0, list->rootIndex());
        if (index.data().toString() == QStringLiteral("First") || index.data().toString().startsWith(u"Second"))
            list->selectionModel()->select(index, QItemSelectionModel::Select | QItemSelectionModel::Rows);
    }
    panel()->accept();
    ASSERT_TRUE(waitUntilAsked());
    EXPECT_THAT(asked(), ElementsAre(first.native(), second.native()));
}

TEST_F(TamselPrefFoldersTest, addFolder_typedName_mustBeThatOfAFolder)
{
    pane().addFolder();
    panel()->open();
    ASSERT_TRUE(waitFor([this] { return panel()->isVisible() && !panel()->testAttribute(Qt::WA_DontShowOnScreen); }));
    QApplication::setActiveWindow(panel());
    auto *const name = panel()->findChild<QLineEdit *>();
    const auto type = [&](const QString &text) {
        name->setText(text);
        ASSERT_TRUE(waitFor([&] { return name->setFocus(), name->hasFocus(); }));
        panel()->accept();
    };
    for (const char *text : {"Frist", "file.txt", R"("First" "Frist")", R"("First" "file.txt")"}) {
        type(QString::fromLatin1(text));
        ASSERT_NE(panel(), nullptr) << text;
        EXPECT_EQ(QToolTip::text(), QStringLiteral("There is no such folder.")) << text;
        QToolTip::hideText();
    }
    type(QStringLiteral("First"));
    ASSERT_TRUE(waitUntilAsked());
    EXPECT_THAT(asked(), ElementsAre(first.native()));
}

TEST_F(TamselPrefFoldersTest, addFolder_typedNamesInQuotes_areSeveralFolders)
{
    const fs::path quoted = first / R"(with "quotes" in it)";
    fs::create_directory(quoted);
    const std::pair<QString, std::vector<std::string>> rows[] = {
        {QStringLiteral(R"("First" "Second folder")"), {first.native(), second.native()}},
        {QString::fromStdString("\"First\" \"" + second.native() + '"'), {first.native(), second.native()}},
        {QString::fromStdString(quoted.native()), {quoted.native()}},
        {QStringLiteral("~/Second folder/"), {second.native()}},
    };
    for (const auto &[text, folders] : rows) {
        pane().addFolder();
        panel()->open();
        ASSERT_TRUE(waitFor([this] { return !panel()->testAttribute(Qt::WA_DontShowOnScreen); }));
        QApplication::setActiveWindow(panel());
        auto *const name = panel()->findChild<QLineEdit *>();
        name->setText(text);
        ASSERT_TRUE(waitFor([&] { return name->setFocus(), name->hasFocus(); }));
        // The button takes the keys from the line.
        auto *const button = panel()->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Open);
        ASSERT_TRUE(waitFor([&] { return button->setFocus(), button->hasFocus(); }));
        center.clearPosts();
        panel()->accept();
        ASSERT_TRUE(waitUntilAsked()) << text.toStdString();
        EXPECT_EQ(asked(), folders) << text.toStdString();
        ASSERT_TRUE(waitFor([this] { return !panel(); }));
    }
}

TEST_F(TamselPrefFoldersTest, addFolder_desktopWithoutADialog_showsThePanel)
{
    pane().addFolder();
    panel()->open();
    EXPECT_TRUE(panel()->testAttribute(Qt::WA_DontShowOnScreen)) << "it is not known yet";
    EXPECT_TRUE(waitFor([this] { return panel()->isVisible() && !panel()->testAttribute(Qt::WA_DontShowOnScreen); }));
    EXPECT_EQ(QApplication::activeModalWidget(), panel());
    EXPECT_EQ(chooser.questions().size(), 1U);
}

TEST_F(TamselPrefFoldersTest, addFolder_dialogOfTheDesktop_isASheetOfItsOwnLook)
{
    chooser.setAnswer({"file://" + first.native(), "file://" + second.parent_path().native() + "/Second%20folder/"});
    pane().addFolder();
    panel()->open();
    ASSERT_EQ(chooser.questions().size(), 1U);
    EXPECT_EQ(chooser.questions().front().title, "Watch folders");
    EXPECT_EQ(chooser.questions().front().button, "Add");
    EXPECT_EQ(chooser.questions().front().start, PrivateHome::current().home());
    EXPECT_EQ(QApplication::activeModalWidget(), panel()) << "the window waits for it";
    EXPECT_TRUE(panel()->testAttribute(Qt::WA_DontShowOnScreen));
    ASSERT_TRUE(waitUntilAsked());
    EXPECT_THAT(asked(), ElementsAre(first.native(), second.native()));
    EXPECT_EQ(panel(), nullptr);
}

TEST_F(TamselPrefFoldersTest, addFolder_dialogOfTheDesktopCancelled_asksForNothing)
{
    chooser.setAnswer({});
    pane().addFolder();
    panel()->open();
    EXPECT_TRUE(waitFor([this] { return !panel(); }));
    runFor(30);
    EXPECT_THAT(center.posts(), IsEmpty());
}

TEST_F(TamselPrefFoldersTest, addFolder_cancelled_asksForNothing)
{
    pane().addFolder();
    panel()->reject();
    EXPECT_EQ(panel(), nullptr);
    runFor(30);
    EXPECT_THAT(center.posts(), IsEmpty());
}
