#include "Tests/Classes/PrefPane/ExclusionsControllerFixture.h"
#include "Tests/Support/PrivateMounts.h"

#include "Classes/Shared/lockBeside.h"

#include <QSignalSpy>

#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

namespace {

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

} // namespace

TEST_F(PXExclusionsControllerTest, alerts_whileAnotherProgramHasTheKeys_areOnThePanel)
{
    storeExtensions({"a"});
    load();
    host.setKeyWindow(nullptr);
    host.setMainWindow(&window);
    controller->addExtensions();
    controller->addExtensions();
    EXPECT_EQ(takeAlert().substr(0, 20), "Duplicated Extension");
    fs::remove_all(support);
    writeFile(support, "a file in the way");
    drop(paths, {"/somewhere"});
    EXPECT_EQ(takeAlert(), "Issue|Tamsel was unable to store the excluded paths.|OK");
    fs::remove(support);
}

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
