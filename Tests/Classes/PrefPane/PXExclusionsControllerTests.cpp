#include "Tests/Classes/PrefPane/ExclusionsControllerFixture.h"

#include "Classes/PrefPane/OpenPanel.h"

#include <QListView>
#include <QMimeData>
#include <QSignalSpy>

namespace fs = std::filesystem;

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char *kRenameFirst =
    "Duplicated Extension|Please rename the default extension before adding new ones.|OK";

// Loading

TEST_F(PXExclusionsControllerTest, firstUse_copiesTheDefaults)
{
    writeDefaults();
    load();
    EXPECT_THAT(rows(paths), ElementsAre("/default"));
    EXPECT_THAT(rows(extensions), ElementsAre("dmg", "zip"));
    EXPECT_EQ(contentOf(pathsFile), listText({"/default"}));
    EXPECT_EQ(contentOf(extensionsFile), listText({"dmg", "zip"}));
    EXPECT_THAT(takePosts(), IsEmpty());
}

TEST_F(PXExclusionsControllerTest, emptyLists_areNotReplacedByTheDefaults)
{
    writeDefaults();
    storePaths({});
    storeExtensions({});
    load();
    EXPECT_THAT(rows(paths), IsEmpty());
    EXPECT_THAT(rows(extensions), IsEmpty());
    EXPECT_EQ(contentOf(pathsFile), listText({}));
}

TEST_F(PXExclusionsControllerTest, fileWithoutAnArray_isEmptyAndStays)
{
    writeDefaults();
    writeFile(extensionsFile, "<plist version=\"1.0\"><dict/></plist>");
    load();
    EXPECT_THAT(rows(extensions), IsEmpty());
    EXPECT_EQ(contentOf(extensionsFile), "<plist version=\"1.0\"><dict/></plist>");
}

TEST_F(PXExclusionsControllerTest, fileThatIsTooLarge_isEmptyAndStaysUntilItIsKeptBeside)
{
    constexpr std::uintmax_t kSize = 65u << 20;
    storeExtensions({"a"});
    fs::resize_file(extensionsFile, kSize);
    load();
    EXPECT_THAT(rows(extensions), IsEmpty());
    EXPECT_EQ(fs::file_size(extensionsFile), kSize);
    QSignalSpy kept(controller.get(), &PXExclusionsController::otherExtensionsFileKept);
    controller->addNewExtensions({QStringLiteral("b")});
    EXPECT_THAT(storedExtensions(), ElementsAre("b"));
    ASSERT_EQ(kept.size(), 1);
    EXPECT_EQ(fs::file_size(support / kept[0][0].toString().toStdString()), kSize);
}

TEST_F(PXExclusionsControllerTest, noDefaultsAndNoFiles_startEmptyAndTheFirstSaveMakesTheFile)
{
    load();
    EXPECT_FALSE(fs::exists(pathsFile));
    controller->addNewPaths({QStringLiteral("/a")});
    EXPECT_THAT(storedPaths(), ElementsAre("/a"));
}

TEST_F(PXExclusionsControllerTest, tables_areSortedWithoutCaseAndTheFileKeepsItsOrder)
{
    storeExtensions({"b", "C", "A", "a"});
    load();
    EXPECT_THAT(rows(extensions), ElementsAre("A", "a", "b", "C"));
    controller->addNewExtensions({QStringLiteral("Aa")});
    EXPECT_THAT(rows(extensions), ElementsAre("A", "a", "Aa", "b", "C"));
    EXPECT_THAT(storedExtensions(), ElementsAre("b", "C", "A", "a", "Aa"));
    EXPECT_THAT(extensions->selectedRowIndexes(), IsEmpty());
}

/// The folder is remembered for the life of the process, and each test runs in its own.
TEST_F(PXExclusionsControllerTest, folderThatCannotBeMadeAtFirst_isMadeByALaterSave)
{
    const fs::path inTheWay = PrivateHome::current().home() / ".local";
    fs::remove_all(inTheWay);
    writeFile(inTheWay, "a file");
    load();
    EXPECT_TRUE(controller->addNewPaths({QStringLiteral("/a")}));
    EXPECT_EQ(takeAlert(), "Issue|Tamsel was unable to store the excluded paths.|OK");
    fs::remove(inTheWay);
    controller->addNewPaths({QStringLiteral("/b")});
    EXPECT_EQ(takeAlert(), "");
    EXPECT_THAT(storedPaths(), ElementsAre("/a", "/b"));
}

// Adding and removing

TEST_F(PXExclusionsControllerTest, addNewPaths_leavesOutKnownOnesAndTheRoot)
{
    storePaths({"/known"});
    load();
    EXPECT_TRUE(controller->addNewPaths(
        {QStringLiteral("/new"), QStringLiteral("/known"), QStringLiteral("/"), QStringLiteral("/new")}));
    EXPECT_THAT(storedPaths(), ElementsAre("/known", "/new", "/new")) << "one that comes twice is added twice";
    EXPECT_THAT(takePosts(), ElementsAre(kPathsChanged));
}

TEST_F(PXExclusionsControllerTest, save_writesThenAnnouncesThenPostsNoMoreThanTheName)
{
    load();
    std::vector<std::string> storedAtFirst;
    std::size_t changes = 0;
    QObject::connect(controller.get(), &PXExclusionsController::exclusionsPathsArrayChanged, &window, [&] {
        ++changes;
        storedAtFirst = storedPaths();
        EXPECT_THAT(center.posts(), IsEmpty());
    });
    controller->addNewPaths({QStringLiteral("/a")});
    EXPECT_EQ(changes, 1u);
    EXPECT_THAT(storedAtFirst, ElementsAre("/a"));
    ASSERT_EQ(center.posts().size(), 1u);
    EXPECT_EQ(center.posts().front().name, kPathsChanged);
    EXPECT_THAT(center.posts().front().userInfo, IsEmpty());
}

TEST_F(PXExclusionsControllerTest, addNewPaths_nothingNew_savesNothing)
{
    load();
    EXPECT_FALSE(controller->addNewPaths({QStringLiteral("/")}));
    EXPECT_FALSE(controller->addNewPaths({}));
    EXPECT_FALSE(fs::exists(pathsFile));
    EXPECT_THAT(takePosts(), IsEmpty());
}

TEST_F(PXExclusionsControllerTest, addNewExtensions_addsEachOnceAndDistinguishesCase)
{
    storeExtensions({"jpg"});
    load();
    controller->addNewExtensions({QStringLiteral("JPG"), QStringLiteral("jpg"), QStringLiteral("JPG")});
    EXPECT_THAT(storedExtensions(), ElementsAre("jpg", "JPG"));
    EXPECT_THAT(takePosts(), ElementsAre(kExtensionsChanged));
}

TEST_F(PXExclusionsControllerTest, remove_takesEveryEqualEntryAndClearsTheSelection)
{
    storePaths({"/a", "/b", "/a", "/c"});
    load();
    select(paths, {"/a", "/c"});
    QTest::keyClick(paths, Qt::Key_Delete);
    EXPECT_THAT(storedPaths(), ElementsAre("/b"));
    EXPECT_THAT(rows(paths), ElementsAre("/b"));
    EXPECT_THAT(paths->selectedRowIndexes(), IsEmpty());
    EXPECT_THAT(takePosts(), ElementsAre(kPathsChanged));
}

TEST_F(PXExclusionsControllerTest, remove_withoutSelection_doesNothing)
{
    storeExtensions({"a"});
    load();
    controller->removeExtensions();
    EXPECT_THAT(takePosts(), IsEmpty());
    EXPECT_THAT(rows(extensions), ElementsAre("a"));
}

TEST_F(PXExclusionsControllerTest, addExtensions_addsThePlaceholderAndEditsIt)
{
    storeExtensions({"a", "z"});
    load();
    controller->addExtensions();
    EXPECT_THAT(storedExtensions(), ElementsAre("a", "z", "please_rename_me"));
    ASSERT_NE(editor(), nullptr);
    EXPECT_EQ(editor()->selectedText(), QStringLiteral("please_rename_me"));
    type(QStringLiteral("jpg"));
    EXPECT_THAT(storedExtensions(), ElementsAre("a", "z", "jpg"));
    EXPECT_THAT(rows(extensions), ElementsAre("a", "jpg", "z"));
    EXPECT_THAT(extensions->selectedRowIndexes(), ElementsAre(1)) << "the selection went with the entry";
    EXPECT_THAT(takePosts(), ElementsAre(kExtensionsChanged, kExtensionsChanged));
}

TEST_F(PXExclusionsControllerTest, remove_whileARowIsEdited_removesItUnderItsNewName)
{
    storeExtensions({"a", "z"});
    load();
    edit("a");
    QTest::keyClicks(editor(), QStringLiteral("b"));
    controller->removeExtensions();
    settle();
    EXPECT_THAT(rows(extensions), ElementsAre("z"));
    EXPECT_THAT(storedExtensions(), ElementsAre("z"));
}

TEST_F(PXExclusionsControllerTest, addExtensions_placeholderHiddenByTheFilter_showsIt)
{
    storeExtensions({"x", "please_rename_me"});
    load();
    controller->exclusionsExtensionsArrayController()->setFilter(QStringLiteral("x"));
    controller->addExtensions();
    EXPECT_EQ(takeAlert(), kRenameFirst);
    EXPECT_THAT(rows(extensions), ElementsAre("please_rename_me", "x"));
}

TEST_F(PXExclusionsControllerTest, addExtensions_twiceWithoutRenaming_isRefused)
{
    load();
    controller->addExtensions();
    QTest::keyClick(editor(), Qt::Key_Escape);
    controller->addExtensions();
    EXPECT_EQ(takeAlert(), kRenameFirst);
    EXPECT_THAT(storedExtensions(), ElementsAre("please_rename_me"));
    EXPECT_THAT(takePosts(), ElementsAre(kExtensionsChanged));
}

// Dropping

TEST_F(PXExclusionsControllerTest, drop_onThePaths_addsThem)
{
    load();
    EXPECT_TRUE(drop(paths, {"/a/b.jpg", "/a/folder", "/a/folder"}));
    EXPECT_THAT(storedPaths(), ElementsAre("/a/b.jpg", "/a/folder", "/a/folder"));
    EXPECT_THAT(host.activations(), ElementsAre(true));
}

TEST_F(PXExclusionsControllerTest, drop_ofTheRoot_isTakenAndAddsNothing)
{
    load();
    EXPECT_TRUE(drop(paths, {"/"}));
    EXPECT_FALSE(fs::exists(pathsFile));
    EXPECT_THAT(takePosts(), IsEmpty());
}

TEST_F(PXExclusionsControllerTest, drop_ofANameThatIsNoText_isNotAddedAndSaidSo)
{
    const fs::path folder = PrivateHome::current().makeFolder("names");
    writeFile(folder / "\xEF\xBF\xBD", "a name that is the replacement character itself");
    const QByteArray place = QByteArray::fromStdString("file://" + folder.native());
    load();
    QSignalSpy refusedPaths(controller.get(), &PXExclusionsController::pathNotStorable);
    QSignalSpy refusedExtensions(controller.get(), &PXExclusionsController::extensionNotStorable);
    QMimeData data;
    data.setUrls({QUrl::fromEncoded(place + "/%FF.%FE"), QUrl::fromEncoded(place + "/%EF%BF%BD")});
    EXPECT_TRUE(controller->tableViewAcceptDrop(*paths, data, nullptr));
    EXPECT_TRUE(controller->tableViewAcceptDrop(*extensions, data, nullptr));
    EXPECT_THAT(storedPaths(), ElementsAre(folder / "\xEF\xBF\xBD"));
    EXPECT_FALSE(fs::exists(extensionsFile));
    EXPECT_EQ(refusedPaths.size(), 1);
    EXPECT_EQ(refusedExtensions.size(), 1);
}

TEST_F(PXExclusionsControllerTest, drop_onTheExtensions_addsThoseOfTheFilesOnce)
{
    load();
    EXPECT_TRUE(drop(extensions, {"/x/a.JPG", "/x/b.JPG", "/x/folder", "/x/.hidden", "/x/c.tar.gz"}));
    EXPECT_THAT(storedExtensions(), ElementsAre("JPG", "gz"));
    EXPECT_THAT(host.activations(), ElementsAre(true));
}

TEST_F(PXExclusionsControllerTest, drop_ofAFolderWithoutExtension_addsNothing)
{
    load();
    EXPECT_TRUE(drop(extensions, {"/x/folder"}));
    EXPECT_FALSE(fs::exists(extensionsFile));
}

TEST_F(PXExclusionsControllerTest, drop_fromTheSameTableOrOfNothing_isRefused)
{
    load();
    EXPECT_FALSE(drop(paths, {"/a"}, paths));
    EXPECT_FALSE(drop(paths, {}));
    QMimeData text;
    text.setText(QStringLiteral("/a"));
    EXPECT_FALSE(controller->tableViewValidateDrop(*paths, text));
    EXPECT_FALSE(controller->tableViewAcceptDrop(*paths, text, nullptr));
    EXPECT_TRUE(drop(paths, {"/a"}, extensions));
    EXPECT_THAT(storedPaths(), ElementsAre("/a"));
}

TEST_F(PXExclusionsControllerTest, dropEvents_reachTheTableAsAWholeAndCopy)
{
    load();
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(QStringLiteral("/a.jpg"))});
    QDragEnterEvent enter({5, 5}, Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(extensions->viewport(), &enter);
    EXPECT_TRUE(enter.isAccepted());
    EXPECT_EQ(enter.dropAction(), Qt::CopyAction);
    QDropEvent dropped(QPointF(5, 150), Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(extensions->viewport(), &dropped);
    EXPECT_TRUE(dropped.isAccepted());
    EXPECT_EQ(dropped.dropAction(), Qt::CopyAction);
    EXPECT_THAT(storedExtensions(), ElementsAre("jpg"));
}

TEST(PXExclusionsControllerExtensions, extensionsFor_takesTheTextAfterTheLastDotOfTheName)
{
    const QStringList files = {QStringLiteral("/a/b.txt"),    QStringLiteral("/a.b/c"),  QStringLiteral("/a/.profile"),
                               QStringLiteral("/a/b."),       QStringLiteral("/a/b..c"), QStringLiteral("/a/b.d/"),
                               QStringLiteral("/a/x.tar.gz"), QStringLiteral("/"),       QStringLiteral("/a/b.txt")};
    EXPECT_EQ(PXExclusionsController::extensionsFor(files).join(u' ').toStdString(), "txt c d gz txt");
}

// Choosing

TEST_F(PXExclusionsControllerTest, addPaths_folderAndFileChosen_areAdded)
{
    const fs::path home = PrivateHome::current().home();
    fs::create_directories(home / "folder");
    writeFile(home / "file.txt", "x");
    load();
    host.setMainWindow(&window);
    controller->addPaths();
    auto *const panel = qobject_cast<OpenPanel *>(host.attachedSheet(&window));
    ASSERT_NE(panel, nullptr);
    EXPECT_EQ(panel->directory().absolutePath().toStdString(), home.native());
    panel->show();
    auto *const list = panel->findChild<QListView *>(QStringLiteral("listView"));
    ASSERT_TRUE(QTest::qWaitFor([&] { return list->model()->rowCount(list->rootIndex()) >= 2; }, 20000));
    list->selectAll();
    panel->accept();
    EXPECT_THAT(storedPaths(), ::testing::IsSupersetOf({(home / "folder").native(), (home / "file.txt").native()}));
}

TEST_F(PXExclusionsControllerTest, addPaths_cancelled_addsNothing)
{
    load();
    host.setMainWindow(&window);
    controller->addPaths();
    host.attachedSheet(&window)->done(0);
    EXPECT_FALSE(fs::exists(pathsFile));
}
