#include "Platform/LoginWindow.h"

#include "Platform/Fake/FakeFileSystem.h"
#include "Platform/Fake/FakeLoginWindow.h"
#include "Platform/Linux/LinuxLoginWindow.h"
#include "Tests/Support/Damage.h"
#include "Tests/Support/PrivateHome.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <fstream>
#include <iterator>

#include <sys/stat.h>

namespace fs = std::filesystem;

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

static int s_worlds = 0; // each test has a folder of its own, whichever process it runs in

static void write(const Path &file, const std::string &text)
{
    fs::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << text;
}

static std::string read(const Path &file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

static std::string otherEntry(const std::string &exec)
{
    return "[Desktop Entry]\nType=Application\nName=Other\nExec=" + exec + "\n";
}

namespace {

struct LinuxWorld
{
    Path folder = PrivateHome::current().makeFolder("config" + std::to_string(++s_worlds)) / "autostart";
    LinuxLoginWindow service{folder};

    void addOther(const std::string &name, const Path &program) { write(folder / name, otherEntry(program.native())); }
};

struct FakeWorld
{
    FakeLoginWindow service;

    void addOther(const std::string &name, const Path &program) { service.addOther(name, program); }
};

class LinuxLoginWindowTest : public ::testing::Test
{
protected:
    std::vector<LoginItem> items() const { return *m_service.copyItems().valueOr(std::nullopt); }
    void add(const Path &path, const Bytes &aliasData = {1})
    {
        std::vector<LoginItem> wanted = items();
        wanted.push_back({path, aliasData, false, {}});
        const Result<void> stored = m_service.storeItems(wanted);
        ASSERT_TRUE(stored) << stored.failure().context;
    }
    Path ours() const { return m_folder / LinuxLoginWindow::kEntryName; }

    Path m_folder = PrivateHome::current().makeFolder("config" + std::to_string(++s_worlds)) / "autostart";
    mutable LinuxLoginWindow m_service{m_folder};
};

} // namespace

static std::vector<std::string> pathsOf(const std::vector<LoginItem> &items)
{
    std::vector<std::string> paths;
    for (const LoginItem &item : items)
        paths.push_back(item.path.native());
    return paths;
}

/// What holds for every login window.
template <class World>
class LoginWindowContract : public ::testing::Test
{
protected:
    std::vector<LoginItem> items() const
    {
        const Result<std::optional<std::vector<LoginItem>>> list = m_window.copyItems();
        EXPECT_TRUE(list && *list);
        return list && *list ? **list : std::vector<LoginItem>();
    }
    void store(const std::vector<LoginItem> &items)
    {
        const Result<void> stored = m_window.storeItems(items);
        ASSERT_TRUE(stored) << stored.failure().context;
    }

    World m_world;
    LoginWindow &m_window = m_world.service;
};

using Worlds = ::testing::Types<LinuxWorld, FakeWorld>;
TYPED_TEST_SUITE(LoginWindowContract, Worlds);

TYPED_TEST(LoginWindowContract, copyItems_noList_isNothing)
{
    const Result<std::optional<std::vector<LoginItem>>> list = this->m_window.copyItems();
    ASSERT_TRUE(list);
    EXPECT_FALSE(*list);
}

TYPED_TEST(LoginWindowContract, storeItems_noList_doesNotMakeOne)
{
    ASSERT_TRUE(this->m_window.storeItems({{"/a/TamselHelper.app", {1}, false, {}}}));
    EXPECT_FALSE(*this->m_window.copyItems());
}

TYPED_TEST(LoginWindowContract, makeList_none_isEmptyAndKeptTheSecondTime)
{
    ASSERT_TRUE(this->m_window.makeList());
    EXPECT_THAT(this->items(), IsEmpty());
    this->store({{"/a/TamselHelper.app", {1}, false, {}}});
    ASSERT_TRUE(this->m_window.makeList());
    EXPECT_EQ(this->items().size(), 1u);
}

TYPED_TEST(LoginWindowContract, storeItems_new_isReadBackWhole)
{
    ASSERT_TRUE(this->m_window.makeList());
    this->store({{"/a/TamselHelper.app", {0, 1, 255}, true, {}}});
    const std::vector<LoginItem> items = this->items();
    ASSERT_EQ(items.size(), 1u);
    EXPECT_EQ(items[0].path, "/a/TamselHelper.app");
    EXPECT_EQ(items[0].aliasData, (Bytes{0, 1, 255}));
    EXPECT_TRUE(items[0].hide);
    EXPECT_NE(items[0].source, "");
}

TYPED_TEST(LoginWindowContract, storeItems_appended_standsBehindTheOthersInTheirOrder)
{
    this->m_world.addOther("b.desktop", "/usr/bin/b");
    this->m_world.addOther("z.desktop", "/usr/bin/z");
    std::vector<LoginItem> items = this->items();
    items.push_back({"/one/TamselHelper.app", {1}, false, {}});
    items.push_back({"/two/TamselHelper.app", {2}, false, {}});
    this->store(items);
    EXPECT_THAT(pathsOf(this->items()),
                ElementsAre("/usr/bin/b", "/usr/bin/z", "/one/TamselHelper.app", "/two/TamselHelper.app"));
    // Taken out and added again, as a refresh of the first does: it moves to the end.
    items = this->items();
    const LoginItem first = items[2];
    items.erase(items.begin() + 2);
    this->store(items);
    items = this->items();
    items.push_back({first.path, {3}, false, {}});
    this->store(items);
    EXPECT_THAT(pathsOf(this->items()),
                ElementsAre("/usr/bin/b", "/usr/bin/z", "/two/TamselHelper.app", "/one/TamselHelper.app"));
    EXPECT_EQ(this->items().back().aliasData, Bytes{3});
}

TYPED_TEST(LoginWindowContract, storeItems_leftOut_isRemoved)
{
    this->m_world.addOther("b.desktop", "/usr/bin/b");
    std::vector<LoginItem> items = this->items();
    items.push_back({"/one/TamselHelper.app", {1}, false, {}});
    this->store(items);
    items = this->items();
    items.pop_back();
    this->store(items);
    EXPECT_THAT(pathsOf(this->items()), ElementsAre("/usr/bin/b"));
}

TYPED_TEST(LoginWindowContract, storeItems_oneForAnother_isReplaced)
{
    ASSERT_TRUE(this->m_window.makeList());
    this->store({{"/one/TamselHelper.app", {1}, false, {}}});
    ASSERT_EQ(this->items().size(), 1u);
    this->store({{"/two/TamselHelper.app", {2}, false, {}}});
    EXPECT_THAT(pathsOf(this->items()), ElementsAre("/two/TamselHelper.app"));
}

TYPED_TEST(LoginWindowContract, storeItems_entryThatCameMeanwhile_stays)
{
    ASSERT_TRUE(this->m_window.makeList());
    const std::vector<LoginItem> items = this->items();
    this->m_world.addOther("new.desktop", "/usr/bin/new");
    this->store(items);
    EXPECT_THAT(pathsOf(this->items()), ElementsAre("/usr/bin/new"));
}

TYPED_TEST(LoginWindowContract, storeItems_unchanged_isANoOp)
{
    this->m_world.addOther("b.desktop", "/usr/bin/b");
    this->store({{"/one/TamselHelper.app", {1}, false, {}}});
    const std::vector<LoginItem> before = this->items();
    this->store(before);
    EXPECT_EQ(this->items(), before);
}

TEST_F(LinuxLoginWindowTest, copyItems_others_areInTheOrderOfTheirNamesAndUntouched)
{
    for (const char *const name : {"c.desktop", "a.desktop", "b.desktop"})
        write(m_folder / name, otherEntry(std::string("/usr/bin/") + name[0] + " --flag %U # odd"));
    add("/x/TamselHelper.app");
    EXPECT_THAT(pathsOf(items()), ElementsAre("/usr/bin/a", "/usr/bin/b", "/usr/bin/c", "/x/TamselHelper.app"));
    EXPECT_EQ(read(m_folder / "b.desktop"), otherEntry("/usr/bin/b --flag %U # odd"));
}

TEST_F(LinuxLoginWindowTest, copyItems_whatIsNoEntry_isPassedOver)
{
    write(m_folder / "good.desktop", otherEntry("/usr/bin/good"));
    write(m_folder / "empty.desktop", "");
    write(m_folder / "noise.desktop", std::string("\0\xFF\x01", 3));
    write(m_folder / "zero.desktop", otherEntry("/a") + std::string(1, '\0'));
    write(m_folder / "othergroup.desktop", "[Other]\nExec=/a\n[Desktop Entry]\nExec=/b\n");
    write(m_folder / "noexec.desktop", "[Desktop Entry]\nType=Link\nURL=http://localhost\n");
    write(m_folder / "huge.desktop", otherEntry("/huge") + std::string(300 * 1024, '#'));
    write(m_folder / "text.txt", otherEntry("/a"));
    fs::create_directory(m_folder / "folder.desktop");
    ASSERT_EQ(::mkfifo((m_folder / "pipe.desktop").c_str(), 0644), 0);
    fs::create_symlink("/dev/zero", m_folder / "device.desktop");
    fs::create_symlink("nowhere", m_folder / "dangling.desktop");
    fs::create_symlink("good.desktop", m_folder / "link.desktop");
    const std::vector<LoginItem> before = items();
    EXPECT_THAT(pathsOf(before), ElementsAre("/usr/bin/good", "/usr/bin/good"));
    const auto count = std::distance(fs::directory_iterator(m_folder), {});
    ASSERT_TRUE(m_service.storeItems(before));
    EXPECT_EQ(std::distance(fs::directory_iterator(m_folder), {}), count);
}

class DamagedEntry : public LinuxLoginWindowTest, public ::testing::WithParamInterface<Damage>
{
};

TEST_P(DamagedEntry, ofAnother_isPassedOverAndLeft)
{
    write(m_folder / "good.desktop", otherEntry("/usr/bin/good"));
    const Path damaged = m_folder / "damaged.desktop";
    write(damaged, otherEntry("/usr/bin/damaged"));
    GetParam().apply(damaged);
    const Precious precious(damaged);
    EXPECT_THAT(pathsOf(items()), ElementsAre("/usr/bin/good"));
    add("/x/TamselHelper.app");
    EXPECT_THAT(pathsOf(items()), ElementsAre("/usr/bin/good", "/x/TamselHelper.app"));
    ASSERT_TRUE(m_service.storeItems({}));
    EXPECT_TRUE(precious.isThere());
}

TEST_P(DamagedEntry, ofOurs_anotherTakesItsPlaceOrItIsLeft)
{
    ASSERT_TRUE(m_service.makeList());
    add("/x/TamselHelper.app");
    GetParam().apply(ours());
    const bool isFile = fs::is_regular_file(fs::symlink_status(ours()));
    const Precious precious(ours());
    add("/x/TamselHelper.app", {2});
    EXPECT_THAT(pathsOf(items()), Contains("/x/TamselHelper.app"));
    EXPECT_TRUE(isFile || precious.isThere()) << "a file of this name may be ours, anything else is not";
}

INSTANTIATE_TEST_SUITE_P(, DamagedEntry, ::testing::ValuesIn(Damages::kAll),
                         [](const auto &each) { return std::string(each.param.name); });

TEST_F(LinuxLoginWindowTest, copyItems_switchedOff_isNotInTheListAndAddingReplacesIt)
{
    ASSERT_TRUE(m_service.makeList());
    add("/x/TamselHelper.app");
    write(ours(), read(ours()) + "Hidden=true\n");
    write(m_folder / "a.desktop", otherEntry("/usr/bin/a") + "Hidden=true\n");
    EXPECT_THAT(items(), IsEmpty());
    add("/x/TamselHelper.app", {2});
    EXPECT_THAT(pathsOf(items()), ElementsAre("/x/TamselHelper.app"));
    EXPECT_EQ(read(ours()).find("Hidden"), std::string::npos);
    EXPECT_NE(read(m_folder / "a.desktop").find("Hidden=true"), std::string::npos);
}

TEST_F(LinuxLoginWindowTest, storeItems_brokenFileOfOurName_isReplaced)
{
    write(ours(), "half an ent");
    add("/x/TamselHelper.app");
    EXPECT_THAT(items(), ElementsAre(LoginItem{"/x/TamselHelper.app", {1}, false, ours()}));
}

TEST_F(LinuxLoginWindowTest, storeItems_linkOrFolderOfOurName_isLeft)
{
    write(m_folder / "precious.txt", "precious");
    fs::create_symlink("precious.txt", ours());
    fs::create_directory(m_folder / "com.dovrane.TamselHelper-2.desktop");
    add("/x/TamselHelper.app");
    EXPECT_EQ(items().at(0).source, m_folder / "com.dovrane.TamselHelper-3.desktop");
    EXPECT_EQ(read(m_folder / "precious.txt"), "precious");
    EXPECT_TRUE(fs::is_symlink(ours()));
}

TEST_F(LinuxLoginWindowTest, storeItems_strangersEntryOfOurName_isLeft)
{
    write(ours(), otherEntry("/usr/bin/stranger"));
    add("/x/TamselHelper.app");
    EXPECT_EQ(read(ours()), otherEntry("/usr/bin/stranger"));
    EXPECT_THAT(pathsOf(items()), ElementsAre("/usr/bin/stranger", "/x/TamselHelper.app"));
}

TEST_F(LinuxLoginWindowTest, storeItems_entryThatChangedMeanwhile_stays)
{
    write(m_folder / "a.desktop", otherEntry("/usr/bin/a"));
    ASSERT_EQ(items().size(), 1u);
    write(m_folder / "a.desktop", otherEntry("/usr/bin/changed"));
    ASSERT_TRUE(m_service.storeItems({}));
    EXPECT_THAT(pathsOf(items()), ElementsAre("/usr/bin/changed"));
}

TEST_F(LinuxLoginWindowTest, storeItems_anyPath_givesAValidEntryThatReadsBack)
{
    ASSERT_TRUE(m_service.makeList());
    for (const std::string folder : {"/plain", "/with blank", " /leading", "/per%cent %U %%", "/quo\"te's",
                                     "/back\\slash\\s", "/$HOME `x` $(y)", "/a;b&c|d<e>f*g?h#i~j(k)", "/tab\there",
                                     "/Größe 日本", "/new\nline", "/cr\rx", "/[Desktop Entry]", "/=x=", "/trailing "}) {
        const Path path = folder + "/TamselHelper.app";
        ASSERT_TRUE(m_service.storeItems({{path, {1, 2}, false, {}}}));
        const std::vector<LoginItem> stored = items();
        ASSERT_EQ(stored.size(), 1u) << folder;
        EXPECT_EQ(stored[0].path, path);
        const std::string content = read(stored[0].source);
        const std::optional<DesktopEntry> entry = DesktopEntry::parse(bytesOf(content));
        EXPECT_EQ(DesktopEntry::programOf(*entry->value("Exec")), path / "Contents/MacOS/TamselHelper");
        const std::string check = "desktop-file-validate '" + stored[0].source + "'";
        EXPECT_EQ(std::system(check.c_str()), 0) << content;
    }
}

TEST_F(LinuxLoginWindowTest, storeItems_pathThatIsNoUtf8_readsBack)
{
    ASSERT_TRUE(m_service.makeList());
    add("/odd\xFF/TamselHelper.app");
    EXPECT_EQ(items().at(0).path, "/odd\xFF/TamselHelper.app");
}

TEST_F(LinuxLoginWindowTest, copyItems_noFolderOfItsOwn_isTheUsers)
{
    LinuxLoginWindow window;
    ASSERT_TRUE(window.makeList());
    EXPECT_TRUE(fs::is_directory(PrivateHome::current().home() / ".config/autostart"));
    ::setenv("XDG_CONFIG_HOME", (PrivateHome::current().root() / "other/deep").c_str(), 1);
    EXPECT_FALSE(*window.copyItems());
    ASSERT_TRUE(window.makeList());
    EXPECT_TRUE(fs::is_directory(PrivateHome::current().root() / "other/deep/autostart"));
    for (const char *const value : {"", "relative"}) {
        ::setenv("XDG_CONFIG_HOME", value, 1);
        write(PrivateHome::current().home() / ".config/autostart/a.desktop", otherEntry("/usr/bin/a"));
        EXPECT_EQ((*window.copyItems())->size(), 1u);
    }
}

TEST(LinuxLoginWindowFaults, storeItems_failingAnywhere_keepsWholeEntriesAndOthers)
{
    for (int failing = 0;; ++failing) {
        FakeFileSystem files;
        const Override<FileSystem> override(files);
        const std::string stranger = otherEntry("/usr/bin/stranger");
        files.addFile("/autostart/stranger.desktop", bytesOf(stranger));
        LinuxLoginWindow window("/autostart");
        ASSERT_EQ((*window.copyItems())->size(), 1u);
        const LoginItem other = (*window.copyItems())->front();
        ASSERT_TRUE(window.storeItems({other, {"/old/TamselHelper.app", {1}, false, {}}}));
        ASSERT_EQ((*window.copyItems())->size(), 2u);

        files.failCall(failing, ErrorCode::NoSpace);
        const bool done = bool(window.storeItems({other, {"/new/TamselHelper.app", {2}, false, {}}}));
        const bool wasReached = files.calls() > failing;
        files.failCall(-1, ErrorCode::Io);

        EXPECT_EQ(stringOf(*files.readFile("/autostart/stranger.desktop", 1 << 20)), stranger);
        const std::vector<std::string> paths = pathsOf(**window.copyItems());
        ASSERT_GE(paths.size(), 2u) << "the helper's entry was lost when call " << failing << " failed";
        EXPECT_EQ(paths[0], "/usr/bin/stranger");
        if (!wasReached) {
            EXPECT_TRUE(done);
            EXPECT_THAT(paths, ElementsAre("/usr/bin/stranger", "/new/TamselHelper.app"));
            EXPECT_GT(failing, 3);
            break;
        }
    }
}

TEST(DesktopEntry, programOf_commands_isTheirFirstWord)
{
    EXPECT_EQ(DesktopEntry::programOf("/usr/bin/a --b %U"), "/usr/bin/a");
    EXPECT_EQ(DesktopEntry::programOf("  \"/with blank/a\" b"), "/with blank/a");
    EXPECT_EQ(DesktopEntry::programOf("\"/a\\\"b\\\\c\\$\""), "/a\"b\\c$");
    EXPECT_EQ(DesktopEntry::programOf("/per%%cent"), "/per%cent");
    EXPECT_EQ(DesktopEntry::programOf("\"/never closed b"), "/never closed b");
    EXPECT_EQ(DesktopEntry::programOf("%"), "%");
    EXPECT_EQ(DesktopEntry::programOf(""), "");
    EXPECT_EQ(DesktopEntry::programOf("   "), "");
}

TEST(DesktopEntry, text_blanksAroundAValue_surviveReading)
{
    for (const std::string value : {" ", "  ", " a ", "a  ", "\ta\t", "\r", "a b"}) {
        DesktopEntry entry;
        entry.add("Key", value);
        EXPECT_EQ(DesktopEntry::parse(bytesOf(entry.text()))->value("Key"), value);
    }
}

TEST(DesktopEntry, parse_lines_areReadLeniently)
{
    const std::optional<DesktopEntry> entry = DesktopEntry::parse(
        bytesOf("# comment\r\n\n[Desktop Entry]\r\n Name = A\\sb\\n\\\\c \nName[de]=B\nName=second\n"
                "noise\nLast=\\\n[Action]\nExec=/no\n"));
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->value("Name"), "A b\n\\c");
    EXPECT_EQ(entry->value("Name[de]"), "B");
    EXPECT_EQ(entry->value("Last"), "\\");
    EXPECT_EQ(entry->value("Exec"), std::nullopt);
}
