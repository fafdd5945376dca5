#include "Platform/LoginWindow.h"
#include "Platform/TreeRemoval.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/PrivateMounts.h"
#include "Tests/Tools/ToolRun.h"

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

class TamselRemoverTest : public ::testing::Test
{
protected:
    TamselRemoverTest()
    {
        writeFile(m_precious / "file", "precious");
        for (const char *const name : {"defaults.plist", "history.db", "excludedPaths.plist", "helper.lock",
                                       "history.db.lock", "excludedPaths.plist.lock", "excludedExtensions.plist.lock"})
            writeFile(m_support / name, name);
    }

    ~TamselRemoverTest() override
    {
        fs::remove_all(PrivateHome::current().home());
        fs::remove_all(m_precious);
    }

    ToolRun remove(const Path &bundle, const std::string &identifier = "com.dovrane.Tamsel") const
    {
        const Path tool = makePane(bundle, identifier, REMOVER);
        fs::create_directory_symlink(m_precious, bundle / "Contents/Resources/link");
        writeFile(bundle / "Contents/Resources/TamselHelper.app/Contents/MacOS/TamselHelper", "program");
        return ToolRun::of(tool, {QString::fromLatin1("")});
    }
    void addLoginItem(const Path &path)
    {
        LoginWindow &window = LoginWindow::current();
        ASSERT_TRUE(window.makeList());
        std::vector<LoginItem> items = **window.copyItems();
        items.push_back({path, {1}, false, {}});
        ASSERT_TRUE(window.storeItems(items));
    }
    std::size_t loginItems() const
    {
        const auto items = *LoginWindow::current().copyItems();
        return items ? items->size() : 0;
    }
    void expectUsersFilesUntouched() const
    {
        EXPECT_EQ(contentOf(m_precious / "file"), "precious");
        for (const char *const name : {"defaults.plist", "history.db", "excludedPaths.plist"})
            EXPECT_EQ(contentOf(m_support / name), name);
    }

    Path m_data = PrivateHome::current().home() / ".local/share";
    Path m_panes = m_data / "PreferencePanes";
    Path m_support = m_data / "Tamsel";
    Path m_precious = PrivateHome::current().makeFolder("precious");
};

} // namespace

TEST_F(TamselRemoverTest, usersOwnPane_isRemovedWithItsLoginItemsAndRuntimeFiles)
{
    addLoginItem(m_panes / "Tamsel.prefPane/Contents/Resources/TamselHelper.app");
    addLoginItem("/old/place/TamselHelper.app");
    writeFile(PrivateHome::current().home() / ".config/autostart/other.desktop",
              "[Desktop Entry]\nType=Application\nName=Other\nExec=/usr/bin/other\n");
    const ToolRun outcome = remove(m_panes / "Tamsel.prefPane");
    EXPECT_EQ(outcome.exitCode, 0) << outcome.errors;
    EXPECT_FALSE(fs::exists(m_panes / "Tamsel.prefPane"));
    EXPECT_TRUE(fs::exists(m_panes));
    EXPECT_EQ(loginItems(), 1u);
    for (const auto &entry : fs::directory_iterator(m_support))
        EXPECT_NE(entry.path().extension(), ".lock") << entry.path();
    expectUsersFilesUntouched();
}

TEST_F(TamselRemoverTest, noLoginList_isNotMade)
{
    EXPECT_EQ(remove(m_panes / "Renamed by hand.prefPane").exitCode, 0);
    EXPECT_FALSE(fs::exists(PrivateHome::current().home() / ".config/autostart"));
    EXPECT_FALSE(fs::exists(m_panes / "Renamed by hand.prefPane"));
}

TEST_F(TamselRemoverTest, legacyFolder_losesItsRuntimeFileToo)
{
    writeFile(m_data / "Pellixer/helper.lock", "");
    writeFile(m_data / "Pellixer/history.db", "history");
    EXPECT_EQ(remove(m_panes / "Tamsel.prefPane").exitCode, 0);
    EXPECT_FALSE(fs::exists(m_data / "Pellixer/helper.lock"));
    EXPECT_EQ(contentOf(m_data / "Pellixer/history.db"), "history");
}

TEST_F(TamselRemoverTest, bundleElsewhere_isLeftWithAMessage)
{
    addLoginItem("/some/TamselHelper.app");
    const Path build = PrivateHome::current().makeFolder("build");
    for (const Path &bundle : {build / "Tamsel.prefPane", m_panes / "folder/Tamsel.prefPane"}) {
        const ToolRun outcome = remove(bundle);
        EXPECT_EQ(outcome.exitCode, 1);
        EXPECT_NE(outcome.errors.find("by hand"), std::string::npos) << outcome.errors;
        EXPECT_TRUE(fs::exists(bundle / "Contents/Info.plist"));
    }
    EXPECT_EQ(loginItems(), 1u);
    EXPECT_TRUE(fs::exists(m_support / "helper.lock"));
}

TEST_F(TamselRemoverTest, bundleReachedThroughALink_isLeft)
{
    const Path build = PrivateHome::current().makeFolder("linked");
    const Path tool = makePane(build / "Tamsel.prefPane", "com.dovrane.Tamsel", REMOVER);
    fs::create_directories(m_panes);
    fs::create_directory_symlink(build / "Tamsel.prefPane", m_panes / "Tamsel.prefPane");
    const ToolRun outcome =
        ToolRun::of(m_panes / "Tamsel.prefPane/Contents/Resources/TamselRemover", {QString::fromLatin1("")});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_TRUE(fs::exists(tool));
    EXPECT_TRUE(fs::is_symlink(m_panes / "Tamsel.prefPane"));
}

TEST_F(TamselRemoverTest, paneFolderThatIsALink_isLeft)
{
    const Path other = PrivateHome::current().makeFolder("otherPanes");
    fs::create_directories(m_data);
    fs::create_directory_symlink(other, m_panes);
    EXPECT_EQ(remove(m_panes / "Tamsel.prefPane").exitCode, 1);
    EXPECT_TRUE(fs::exists(other / "Tamsel.prefPane/Contents/Info.plist"));
}

TEST_F(TamselRemoverTest, otherIdentifier_isLeft)
{
    for (const std::string identifier : {"com.dovrane.TamselHelper", "com.dovrane.Tamsel.other", ""}) {
        fs::remove_all(m_panes);
        EXPECT_EQ(remove(m_panes / "Tamsel.prefPane", identifier).exitCode, 1) << identifier;
        EXPECT_TRUE(fs::exists(m_panes / "Tamsel.prefPane/Contents/Info.plist"));
    }
}

TEST_F(TamselRemoverTest, mountInside_nothingIsRemoved)
{
    PrivateMounts mounts;
    const Path inside = m_panes / "Tamsel.prefPane/Contents/Resources/z";
    fs::create_directories(inside);
    if (!mounts.mountMemory(inside))
        GTEST_SKIP() << "this machine does not let the test mount anything";
    writeFile(inside / "file", "content");
    const ToolRun outcome = remove(m_panes / "Tamsel.prefPane");
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_TRUE(fs::exists(m_panes / "Tamsel.prefPane/Contents/Info.plist"));
    EXPECT_EQ(contentOf(inside / "file"), "content");
}

TEST_F(TamselRemoverTest, wrongUse_saysHowAndDoesNothing)
{
    const Path tool = makePane(m_panes / "Tamsel.prefPane", "com.dovrane.Tamsel", REMOVER);
    for (const QStringList &arguments : {QStringList{}, {QStringLiteral("/")}, {QString::fromLatin1(""), QString()}}) {
        const ToolRun outcome = ToolRun::of(tool, arguments);
        EXPECT_EQ(outcome.exitCode, 2);
        EXPECT_NE(outcome.errors.find("usage"), std::string::npos);
    }
    EXPECT_TRUE(fs::exists(tool));
}

TEST_F(TamselRemoverTest, programInNoBundle_saysSo)
{
    const Path tool = PrivateHome::current().makeFolder("bin") / "TamselRemover";
    fs::copy_file(REMOVER, tool);
    const ToolRun outcome = ToolRun::of(tool, {QString::fromLatin1("")});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_NE(outcome.errors, "");
    EXPECT_TRUE(fs::exists(tool));
}

TEST_F(TamselRemoverTest, removeTree_somethingElseThanExpected_isLeft)
{
    writeFile(m_precious / "tree/file", "content");
    const Result<void> removed = removeTree(m_precious, "tree", {1, 1});
    ASSERT_FALSE(removed);
    EXPECT_EQ(removed.failure().code, ErrorCode::Busy);
    fs::create_directory_symlink("tree", m_precious / "link");
    EXPECT_FALSE(removeTree(m_precious, "link", {1, 1}));
    EXPECT_EQ(contentOf(m_precious / "tree/file"), "content");
}
