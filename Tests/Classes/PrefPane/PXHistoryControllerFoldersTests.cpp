// What the user is asked and the helper is told when folders are added or removed.
#include "Platform/Fake/FakeApplicationName.h"
#include "Platform/Fake/FakeVolumes.h"
#include "Tests/Classes/PrefPane/PaneWithHistory.h"
#include "Tests/Support/WaitFor.h"

#include <QKeyEvent>
#include <QMessageBox>
#include <QPushButton>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

using Posts = std::vector<std::string>;

constexpr const char *kWarning =
    "Compatibility Warning|Some of the folders you added are not located in your main boot volume.\n\n"
    "If you disconnect the volume and mount it in an older version of Mac OS or other operating system, compressed "
    "files will not be seen by that OS.\n\n"
    "You can always copy or share compressed files from your Snow Leopard computer.|Add Anyway|Cancel";
constexpr const char *kFiltered = "Filtered out folders|Some of the folders you tried to add are located in removable, "
                                  "non-HFS or read-only volumes, and have been removed.|OK";

class WatchedFoldersOfTheUser : public PaneWithHistory
{
protected:
    WatchedFoldersOfTheUser()
    {
        installBundle();
        FakeVolumes::Volume stick{.mountPoint = "/stick"};
        stick.extendedAttributes = Volumes::kIsRemovable | Volumes::kIsEjectable | Volumes::kIsOnExternalBus;
        volumes.volumes = {{.mountPoint = "/"}, stick, {.mountPoint = "/ext4", .typeName = "ext4"}};
        application.setKeyWindow(&window);
        controller()->setFoldersArrayController(&array);
        controller()->setFoldersTableView(&table);
        controller()->awakeFromNib();
    }

    /// Adds them and waits until the helper was told or a question is asked.
    void add(std::vector<std::string> folders)
    {
        controller()->addFolders(std::move(folders));
        EXPECT_THAT(posts(), IsEmpty()) << "the answer comes before the rest";
        EXPECT_EQ(sheet(), nullptr);
        EXPECT_TRUE(waitFor([this] { return !posts().empty() || sheet(); }));
    }

    /// What was posted about folders: its entries, in square brackets the elements of an array.
    Posts posts() const
    {
        Posts texts;
        for (const Notification &notification : services.center.posts()) {
            std::string text = notification.name;
            for (const auto &[key, value] : notification.userInfo) {
                text += ' ' + key + " [";
                for (const std::string &folder : std::get<std::vector<std::string>>(value))
                    text += folder + ',';
                text += ']';
            }
            texts.push_back(text);
        }
        return texts;
    }

    QMessageBox *sheet() const { return qobject_cast<QMessageBox *>(application.attachedSheet(&window)); }
    std::string sheetText() const
    {
        if (!sheet())
            return {};
        std::string text = sheet()->text().toStdString() + '|' + sheet()->informativeText().toStdString();
        for (const QAbstractButton *button : sheet()->buttons())
            text += '|' + button->text().toStdString();
        return text;
    }
    void click(const char *button)
    {
        ASSERT_TRUE(sheet());
        for (QAbstractButton *each : sheet()->buttons()) {
            if (each->text() == QLatin1String(button))
                return each->click();
        }
        FAIL() << "no button " << button;
    }

    QWidget window;
    FoldersArrayController array;
    DVTableView table;
    FakeVolumes volumes;
    Override<Volumes> installedVolumes{volumes};
};

} // namespace

TEST_F(WatchedFoldersOfTheUser, bootVolume_isSentWithoutAQuestion)
{
    add({"/srv/a", "/srv/b", "/srv/a"});
    EXPECT_THAT(posts(), ElementsAre("com.dovrane.pellix.folders foldersToAdd [/srv/a,/srv/b,/srv/a,]"));
    EXPECT_EQ(sheetText(), "");
}

TEST_F(WatchedFoldersOfTheUser, secondDisk_addAnyway_isSent)
{
    add({"/srv/a", "/Volumes/b"});
    EXPECT_EQ(sheetText(), kWarning);
    EXPECT_THAT(posts(), IsEmpty());
    click("Add Anyway");
    EXPECT_THAT(posts(), ElementsAre("com.dovrane.pellix.folders foldersToAdd [/srv/a,/Volumes/b,]"));
    EXPECT_EQ(sheetText(), "");
}

TEST_F(WatchedFoldersOfTheUser, secondDisk_cancel_sendsTheRest)
{
    add({"/Volumes/b", "/srv/a", "/Volumes/b"});
    click("Cancel");
    EXPECT_THAT(posts(), ElementsAre("com.dovrane.pellix.folders foldersToAdd [/srv/a,]"));
}

TEST_F(WatchedFoldersOfTheUser, onlyWarned_cancel_sendsTheEmptyList)
{
    add({"/ext4/a"});
    click("Cancel");
    EXPECT_THAT(posts(), ElementsAre("com.dovrane.pellix.folders foldersToAdd []"));
    EXPECT_EQ(sheetText(), "");
}

TEST_F(WatchedFoldersOfTheUser, removable_isDroppedAndTheUserIsTold)
{
    add({"/stick/a"});
    EXPECT_THAT(posts(), ElementsAre("com.dovrane.pellix.folders foldersToAdd []"));
    EXPECT_EQ(sheetText(), kFiltered);
    click("OK");
    EXPECT_EQ(sheetText(), "");
    EXPECT_EQ(posts().size(), 1U);
}

TEST_F(WatchedFoldersOfTheUser, removableAndWarned_theQuestionComesFirst)
{
    add({"/stick/a", "/Volumes/b", "/srv/c"});
    EXPECT_EQ(sheetText(), kWarning);
    click("Add Anyway");
    EXPECT_THAT(posts(), ElementsAre("com.dovrane.pellix.folders foldersToAdd [/Volumes/b,/srv/c,]"));
    EXPECT_EQ(sheetText(), kFiltered);
}

TEST_F(WatchedFoldersOfTheUser, removableAndWarned_cancel_tellsOfTheDroppedAsWell)
{
    add({"/stick/a", "/Volumes/b"});
    click("Cancel");
    EXPECT_THAT(posts(), ElementsAre("com.dovrane.pellix.folders foldersToAdd []"));
    EXPECT_EQ(sheetText(), kFiltered);
}

TEST_F(WatchedFoldersOfTheUser, onlyWarned_cancel_tellsOfNoneDropped)
{
    add({"/srv/a", "/Volumes/b"});
    click("Cancel");
    EXPECT_EQ(sheetText(), "");
}

TEST_F(WatchedFoldersOfTheUser, noWindowWithTheKeys_theQuestionIsOnTheMainWindow)
{
    application.setKeyWindow(nullptr);
    application.setMainWindow(&window);
    add({"/Volumes/b"});
    EXPECT_EQ(sheetText(), kWarning);
}

TEST_F(WatchedFoldersOfTheUser, twoRequests_askOneAfterTheOther)
{
    controller()->addFolders({"/Volumes/a"});
    controller()->addFolders({"/Volumes/b"});
    ASSERT_TRUE(waitFor([this] { return sheet() != nullptr; }));
    runFor(50);
    click("Add Anyway");
    EXPECT_EQ(sheetText(), kWarning);
    click("Cancel");
    EXPECT_THAT(posts(), ElementsAre("com.dovrane.pellix.folders foldersToAdd [/Volumes/a,]",
                                     "com.dovrane.pellix.folders foldersToAdd []"));
}

TEST_F(WatchedFoldersOfTheUser, removeFolders_nothingSelected_postsNothing)
{
    controller()->removeFolders();
    EXPECT_THAT(posts(), IsEmpty());
}

TEST_F(WatchedFoldersOfTheUser, removeFolders_twoSelected_postsThemOnceAndSelectsNothing)
{
    const auto database = HistoryFixture::openDatabase(store());
    for (const char *folder : {"/a", "/b", "/c"})
        ASSERT_TRUE(database->addFolder(folder, {}));
    announceSavings();
    array.setSelectionIndexes({0, 2});
    controller()->removeFolders();
    EXPECT_THAT(posts(), ElementsAre("com.dovrane.pellix.folders foldersToRemove [/a,/c,]"));
    EXPECT_THAT(array.selectionIndexes(), IsEmpty());
    EXPECT_EQ(array.rowCount(), 3) << "until the helper says so";
}

TEST_F(WatchedFoldersOfTheUser, removeFolders_placeIsNoText_isSaidAndStaysSelected)
{
    const auto database = HistoryFixture::openDatabase(store());
    for (const char *folder : {"/a", "/caf\xe9", "/d"})
        ASSERT_TRUE(database->addFolder(folder, {}));
    announceSavings();
    array.setSelectionIndexes({0, 1});
    controller()->removeFolders();
    EXPECT_THAT(posts(), ElementsAre("com.dovrane.pellix.folders foldersToRemove [/a,]"));
    EXPECT_THAT(array.selectionIndexes(), ElementsAre(1));
    const std::vector<FolderRefusal> refusals{{"/caf\xe9", FolderRefusal::Reason::NotText}};
    EXPECT_EQ(controller()->refusals(), refusals);
    announceSavings();
    EXPECT_EQ(controller()->refusals(), refusals) << "until something else is asked for";
    array.setSelectionIndexes({2});
    controller()->removeFolders();
    EXPECT_THAT(controller()->refusals(), IsEmpty());
}

TEST_F(WatchedFoldersOfTheUser, noHelperRuns_itIsToldOnceOneDoes)
{
    FakeApplicationName::Registry registry;
    FakeApplicationName name{registry};
    const Override<ApplicationName> installedName{name};
    int missed = 0;
    QObject::connect(controller(), &PXHistoryController::helperMissed, [&missed] { ++missed; });
    add({"/srv/a"});
    registry.deliver();
    EXPECT_EQ(missed, 1);
    EXPECT_EQ(posts().size(), 1U);
    FakeApplicationName helper{registry};
    helper.setActivationHandler([](const auto &) {});
    helper.claim("com.dovrane.TamselHelper", [](auto) {});
    ASSERT_TRUE(waitFor([&] { return registry.deliver(), posts().size() == 2; }));
    EXPECT_EQ(posts()[1], posts()[0]);
}

TEST_F(WatchedFoldersOfTheUser, deleteKeyOfTheTable_removesWhatIsSelected)
{
    const auto database = HistoryFixture::openDatabase(store());
    ASSERT_TRUE(database->addFolder("/a", {}));
    announceSavings();
    array.setSelectionIndexes({0});
    QKeyEvent press(QEvent::KeyPress, Qt::Key_Delete, Qt::NoModifier);
    QCoreApplication::sendEvent(&table, &press);
    EXPECT_THAT(posts(), ElementsAre("com.dovrane.pellix.folders foldersToRemove [/a,]"));
    array.setSelectionIndexes({0});
    EXPECT_TRUE(controller()->tableviewRemoveSelectedRowIndexes(table, {7})) << "the rows named are not looked at";
    EXPECT_EQ(posts().size(), 2U);
}
