#include "Tests/Classes/PrefPane/ExclusionsFixture.h"
#include "Tests/Support/PrivateMounts.h"

#include "Classes/PrefPane/OpenPanel.h"
#include "Classes/Shared/lockBeside.h"

#include <QDir>
#include <QListView>
#include <QMimeData>
#include <QSignalSpy>
#include <QUrl>

#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

namespace {

class PXExclusionsControllerTest : public ExclusionsFixture
{
protected:
    void writeDefaults()
    {
        writeFile(bundle / "Contents/Resources/defaultExcludedPaths.plist", listText({"/default"}));
        writeFile(bundle / "Contents/Resources/defaultExcludedExtensions.plist", listText({"dmg", "zip"}));
    }
    bool drop(DVTableView *table, const std::vector<std::string> &files, const QObject *source = nullptr)
    {
        QMimeData data;
        QList<QUrl> urls;
        for (const std::string &file : files)
            urls.append(QUrl::fromLocalFile(QString::fromStdString(file)));
        data.setUrls(urls);
        EXPECT_TRUE(controller->tableViewValidateDrop(*table, data));
        return controller->tableViewAcceptDrop(*table, data, source);
    }
    /// The selection goes with the entries, whatever their rows.
    void select(DVTableView *table, const std::vector<std::string> &texts)
    {
        auto *const arranged = static_cast<ExclusionsArrayController *>(table->model());
        ExclusionEntries entries;
        for (const ExclusionEntry &entry : arranged->arrangedObjects()) {
            if (std::find(texts.begin(), texts.end(), entry->toStdString()) != texts.end())
                entries.push_back(entry);
        }
        arranged->setSelectedObjects(entries);
    }
    void edit(const std::string &text)
    {
        select(extensions, {text});
        extensions->edit(extensions->model()->index(extensions->selectedRowIndexes().at(0), 0));
    }
};

/// A folder that this process may read and not change. Root becomes another user meanwhile.
class FolderTakenAway final
{
public:
    explicit FolderTakenAway(const fs::path &folder)
        : m_folder(folder)
    {
        ::chmod(folder.c_str(), 0555);
        if (::getuid() != 0)
            return;
        for (fs::path above = folder.parent_path(); above != PrivateHome::current().root().parent_path();
             above = above.parent_path())
            ::chmod(above.c_str(), 0755);
        m_isOther = ::seteuid(65534) == 0;
    }
    ~FolderTakenAway() { giveBack(); }

    bool isTaken() const { return ::getuid() != 0 || m_isOther; }
    void giveBack() const
    {
        if (::getuid() == 0) {
            EXPECT_EQ(::seteuid(0), 0);
        }
        ::chmod(m_folder.c_str(), 0755);
    }

private:
    fs::path m_folder;
    bool m_isOther = false;
};

constexpr const char *kDuplicate =
    "Duplicated Extension|There was another excluded extension with the same name, Tamsel removed the duplicate.|OK";
constexpr const char *kRenameFirst =
    "Duplicated Extension|Please rename the default extension before adding new ones.|OK";

} // namespace

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

// Editing

TEST_F(PXExclusionsControllerTest, edit_leadingDotsAndSpaces_areTakenAway)
{
    storeExtensions({"a"});
    load();
    edit("a");
    editor()->clear();
    editor()->insert(QStringLiteral(" .tar gz"));
    extensions->endEditing();
    settle();
    EXPECT_THAT(storedExtensions(), ElementsAre("targz"));
    edit("targz");
    type(QStringLiteral("..JpG"));
    EXPECT_THAT(storedExtensions(), ElementsAre("JpG")) << "case is kept";
}

TEST_F(PXExclusionsControllerTest, edit_keepsTheEntryThatItIs)
{
    storeExtensions({"a", "b"});
    load();
    const ExclusionEntry entry = controller->exclusionsExtensionsArray()[0];
    edit("a");
    type(QStringLiteral("z"));
    EXPECT_EQ(controller->exclusionsExtensionsArray()[0], entry);
    EXPECT_EQ(*entry, QStringLiteral("z"));
}

TEST_F(PXExclusionsControllerTest, edit_thatLeavesNothing_beginsAgainAndSavesNothing)
{
    storeExtensions({"a"});
    load();
    edit("a");
    type(QStringLiteral("..."));
    EXPECT_NE(editor(), nullptr) << "a name must be given";
    EXPECT_THAT(takePosts(), IsEmpty());
    EXPECT_THAT(storedExtensions(), ElementsAre("a"));
    type(QStringLiteral("b"));
    EXPECT_THAT(storedExtensions(), ElementsAre("b"));
    EXPECT_THAT(takePosts(), ElementsAre(kExtensionsChanged));
}

TEST_F(PXExclusionsControllerTest, edit_thatLeavesNothing_isNotStoredByWhatComesNext)
{
    storeExtensions({"a", "z"});
    load();
    edit("a");
    type(QStringLiteral("..."));
    EXPECT_TRUE(drop(extensions, {"/x.jpg"}));
    EXPECT_THAT(storedExtensions(), ElementsAre("z", "jpg"));
    EXPECT_THAT(rows(extensions), ElementsAre("jpg", "z"));
    settle(); // the field editor goes
    edit("z");
    type(QStringLiteral("..."));
    controller->addExtensions();
    settle();
    type(QStringLiteral("y"));
    EXPECT_THAT(storedExtensions(), ElementsAre("jpg", "y"));
    edit("y");
    type(QStringLiteral("..."));
    type(QString(), Qt::Key_Escape);
    controller->addNewExtensions({QStringLiteral("x")});
    EXPECT_THAT(storedExtensions(), ElementsAre("jpg", "x"));
    EXPECT_THAT(rows(extensions), ElementsAre("jpg", "x"));
}

TEST_F(PXExclusionsControllerTest, edit_intoAnother_removesTheEditedAndSavesNothingYet)
{
    storeExtensions({"jpg", "png"});
    load();
    const ExclusionEntry older = controller->exclusionsExtensionsArray()[0];
    edit("png");
    type(QStringLiteral(".jpg"));
    EXPECT_EQ(takeAlert(), kDuplicate);
    EXPECT_THAT(controller->exclusionsExtensionsArray(), ElementsAre(older));
    EXPECT_THAT(rows(extensions), ElementsAre("jpg"));
    EXPECT_THAT(takePosts(), IsEmpty());
    EXPECT_THAT(storedExtensions(), ElementsAre("jpg", "png")) << "the next save writes it";
    controller->addNewExtensions({QStringLiteral("x")});
    EXPECT_THAT(storedExtensions(), ElementsAre("jpg", "x"));
}

TEST_F(PXExclusionsControllerTest, edit_otherCase_isNoDuplicate)
{
    storeExtensions({"jpg", "png"});
    load();
    edit("png");
    type(QStringLiteral("JPG"));
    EXPECT_EQ(takeAlert(), "");
    EXPECT_THAT(storedExtensions(), ElementsAre("jpg", "JPG"));
}

TEST_F(PXExclusionsControllerTest, edit_cancelled_changesNothing)
{
    storeExtensions({"a"});
    load();
    edit("a");
    type(QStringLiteral("b"), Qt::Key_Escape);
    EXPECT_THAT(rows(extensions), ElementsAre("a"));
    EXPECT_THAT(takePosts(), IsEmpty());
}

TEST_F(PXExclusionsControllerTest, edit_whileFiltered_clearsTheFilterSoThatDuplicatesAreSeen)
{
    storeExtensions({"jpg", "png", "pdf"});
    load();
    controller->exclusionsExtensionsArrayController()->setFilter(QStringLiteral("pn"));
    edit("png");
    EXPECT_THAT(rows(extensions), ElementsAre("jpg", "pdf", "png"));
    EXPECT_THAT(extensions->selectedRowIndexes(), ElementsAre(2));
    type(QStringLiteral("jpg"));
    EXPECT_EQ(takeAlert(), kDuplicate);
    EXPECT_THAT(rows(extensions), ElementsAre("jpg", "pdf"));
}

TEST_F(PXExclusionsControllerTest, adding_whileFiltered_clearsTheFilter)
{
    storeExtensions({"jpg"});
    load();
    controller->exclusionsExtensionsArrayController()->setFilter(QStringLiteral("x"));
    controller->addExtensions();
    EXPECT_EQ(controller->exclusionsExtensionsArrayController()->filter(), QString());
    EXPECT_NE(editor(), nullptr);
}

TEST_F(PXExclusionsControllerTest, additionWhileEditing_keepsWhatWasTyped)
{
    storeExtensions({"a"});
    load();
    edit("a");
    QTest::keyClicks(editor(), QStringLiteral("typed"));
    controller->addNewExtensions({QStringLiteral("x")});
    EXPECT_THAT(storedExtensions(), ElementsAre("typed", "x"));
}

TEST_F(PXExclusionsControllerTest, paths_cannotBeEdited)
{
    storePaths({"/a"});
    load();
    paths->setCurrentIndex(paths->model()->index(0, 0));
    QTest::keyClick(paths, Qt::Key_F2);
    EXPECT_EQ(paths->viewport()->findChild<QLineEdit *>(), nullptr);
}

TEST_F(PXExclusionsControllerTest, validation_isTheExtensionsAlone)
{
    load();
    EXPECT_EQ(extensions->validationCharacterSet(),
              QStringLiteral("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._-+"));
    EXPECT_EQ(paths->validationCharacterSet(), std::nullopt);
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

// Saving

TEST_F(PXExclusionsControllerTest, save_overAFileOfSomebodyElse_keepsThatBeside)
{
    storePaths({"/mine"});
    load();
    QSignalSpy kept(controller.get(), &PXExclusionsController::otherPathsFileKept);
    storePaths({"/theirs"});
    controller->addNewPaths({QStringLiteral("/new")});
    EXPECT_THAT(storedPaths(), ElementsAre("/mine", "/new"));
    ASSERT_EQ(kept.size(), 1);
    const std::string name = kept[0][0].toString().toStdString();
    EXPECT_THAT(name, StartsWith("excludedPaths.plist.replaced-"));
    EXPECT_EQ(contentOf(support / name), listText({"/theirs"}));
}

TEST_F(PXExclusionsControllerTest, save_foldersPermissionTakenAway_tellsTheUserAndKeepsTheList)
{
    storePaths({"/old"});
    load();
    const FolderTakenAway folder(support);
    if (!folder.isTaken())
        GTEST_SKIP() << "this process keeps root's rights";
    controller->addNewPaths({QStringLiteral("/new")});
    const std::string alert = takeAlert();
    folder.giveBack();
    EXPECT_EQ(alert, "Issue|Tamsel was unable to store the excluded paths.|OK");
    EXPECT_THAT(storedPaths(), ElementsAre("/old"));
    EXPECT_THAT(takePosts(), IsEmpty());
    EXPECT_THAT(textsOf(controller->exclusionsPathsArray()), ElementsAre("/old", "/new"));
    EXPECT_TRUE(controller->saveExclusionPaths());
    EXPECT_THAT(storedPaths(), ElementsAre("/old", "/new"));
}

TEST_F(PXExclusionsControllerTest, save_thatFails_showsTheListAsItIs)
{
    storeExtensions({"a", "b"});
    load();
    fs::remove(extensionsFile);
    fs::create_directory(extensionsFile);
    select(extensions, {"a"});
    controller->removeExtensions();
    EXPECT_EQ(takeAlert(), "Issue|Tamsel was unable to store the excluded extensions.|OK");
    EXPECT_THAT(rows(extensions), ElementsAre("b"));
    controller->addExtensions();
    EXPECT_EQ(takeAlert(), "Issue|Tamsel was unable to store the excluded extensions.|OK");
    EXPECT_THAT(rows(extensions), ElementsAre("b", "please_rename_me"));
    fs::remove(extensionsFile);
    type(QStringLiteral("c"));
    EXPECT_THAT(storedExtensions(), ElementsAre("b", "c"));
}

TEST_F(PXExclusionsControllerTest, save_whileAnotherProgramHasTheLock_isNotHeldUp)
{
    load();
    const auto lock = lockBeside(pathsFile, {});
    ASSERT_TRUE(lock);
    controller->addNewPaths({QStringLiteral("/a")});
    EXPECT_THAT(storedPaths(), ElementsAre("/a"));
    EXPECT_FALSE(fs::exists(extensionsFile));
}

TEST_F(PXExclusionsControllerTest, save_toAFullDisk_tellsTheUserAndTheOldListStands)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root mounts a volume to fill";
    const fs::path point = PrivateHome::current().makeFolder("volume");
    PrivateMounts mounts;
    if (!mounts.mountMemory(point))
        GTEST_SKIP() << "this machine gives the process no mounts of its own";
    fs::remove_all(support);
    fs::create_directory_symlink(point, support);
    storeExtensions({"old"});
    load();
    fs::path filler = point / "filler";
    {
        std::ofstream stream(filler, std::ios::binary);
        const std::string block(1 << 16, 'x');
        while (stream.write(block.data(), std::streamsize(block.size())).flush())
            ;
    }
    ASSERT_LT(fs::space(point).available, 4096u) << "the volume is not full";
    controller->addNewExtensions({QStringLiteral("new")});
    EXPECT_EQ(takeAlert(), "Issue|Tamsel was unable to store the excluded extensions.|OK");
    EXPECT_THAT(storedExtensions(), ElementsAre("old"));
    EXPECT_THAT(takePosts(), IsEmpty());
    fs::remove(filler);
    controller->addNewExtensions({QStringLiteral("more")});
    EXPECT_THAT(storedExtensions(), ElementsAre("old", "new", "more"));
}

// Requests

TEST_F(PXExclusionsControllerTest, requests_changeTheListTheyName)
{
    storePaths({"/a b"});
    load();
    EXPECT_TRUE(controller->handleRequest("exclusions paths add /c d"));
    EXPECT_TRUE(controller->handleRequest("exclusions paths remove /a b"));
    EXPECT_TRUE(controller->handleRequest("exclusions extensions add jpg"));
    EXPECT_TRUE(controller->handleRequest("exclusions extensions add png"));
    EXPECT_TRUE(controller->handleRequest("exclusions extensions remove jpg"));
    EXPECT_TRUE(controller->handleRequest("exclusions extensions add "));
    for (const char *wrong : {"paths add relative", "paths add /", "paths add /\xFF", "extensions add a/b",
                              "extensions add .jpg", "extensions add a b"})
        EXPECT_TRUE(controller->handleRequest(std::string("exclusions ") + wrong)) << wrong;
    EXPECT_THAT(storedPaths(), ElementsAre("/c d"));
    EXPECT_THAT(storedExtensions(), ElementsAre("png"));
    for (const char *other : {"on", "off", "", "exclusions", "exclusions paths", "exclusions paths drop /a"})
        EXPECT_FALSE(controller->handleRequest(other)) << other;
}
