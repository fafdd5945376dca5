#include "Host/HostSettings.h"

#include "Platform/Fake/FakeFileSystem.h"
#include "Platform/FileSystem.h"
#include "Tests/Support/PrivateHome.h"

#include <gmock/gmock.h>

#include <fstream>

namespace fs = std::filesystem;

using ::testing::UnorderedElementsAre;

namespace {

class HostSettingsTest : public ::testing::Test
{
protected:
    static void write(const Path &file, const std::string &content)
    {
        fs::create_directories(file.parent_path());
        std::ofstream(file) << content;
    }

    static std::string contentOf(const Path &file)
    {
        std::ifstream stream(file);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    std::vector<std::string> contentsAside() const
    {
        std::vector<std::string> contents;
        for (const auto &entry : fs::directory_iterator(path.parent_path())) {
            if (entry.path().filename().native().starts_with("settings.plist.damaged-"))
                contents.push_back(contentOf(entry.path()));
        }
        return contents;
    }

    Path path = PrivateHome::current().root() / "new/settings.plist";
};

} // namespace

TEST_F(HostSettingsTest, defaultPath_isInTheUsersConfiguration)
{
    EXPECT_EQ(HostSettings::defaultPath(), PrivateHome::current().home() / ".config/com.dovrane.Preferences.plist");
}

TEST_F(HostSettingsTest, tables_areReadAgainEachUnderItsName)
{
    HostSettings first(path);
    EXPECT_EQ(first.table("pane/table"), TableState());
    first.setTable("pane/table", {{180, 0, 72}, 3, true});
    first.setTable("pane/other", {{50}, -1, false});
    first.setTable("pane/table", {{190, 0, 72}, 2, false});
    first.save();
    const HostSettings second(path);
    EXPECT_EQ(second.table("pane/table"), (TableState{{190, 0, 72}, 2, false}));
    EXPECT_EQ(second.table("pane/other"), (TableState{{50}, -1, false}));
}

TEST_F(HostSettingsTest, tables_ofAnotherForm_areNone)
{
    write(path, "<plist version=\"1.0\"><dict><key>Tables</key><dict><key>a</key><dict><key>ColumnWidths</key><array>"
                "<string>x</string><integer>-5</integer><integer>99999999999</integer><integer>70</integer></array>"
                "<key>SortColumn</key><true/></dict><key>b</key><array/></dict></dict></plist>");
    const HostSettings settings(path);
    EXPECT_EQ(settings.table("a"), (TableState{{0, 0, 0, 70}, -1, false}));
    EXPECT_EQ(settings.table("b"), TableState());
}

TEST_F(HostSettingsTest, save_isReadAgain)
{
    HostSettings first(path);
    EXPECT_EQ(first.lastPane(), "");
    EXPECT_EQ(first.windowGeometry(), Bytes());
    first.setLastPane("/a/B.prefPane");
    first.setWindowGeometry({0, 1, 255});
    first.save();
    const HostSettings second(path);
    EXPECT_EQ(second.lastPane(), "/a/B.prefPane");
    EXPECT_EQ(second.windowGeometry(), (Bytes{0, 1, 255}));
}

TEST_F(HostSettingsTest, save_nothingChanged_writesNothing)
{
    HostSettings settings(path);
    settings.setLastPane("");
    settings.save();
    EXPECT_FALSE(fs::exists(path));
}

TEST_F(HostSettingsTest, save_keysOfAnotherVersion_areKept)
{
    fs::create_directories(path.parent_path());
    PropertyList other;
    other.set("Later", "kept");
    ASSERT_TRUE(bool(other.write(path)));
    HostSettings settings(path);
    settings.setLastPane("x");
    settings.save();
    EXPECT_EQ(PropertyList::read(path)->string("Later"), "kept");
}

TEST_F(HostSettingsTest, save_valuesOfAnotherKind_areReplaced)
{
    fs::create_directories(path.parent_path());
    PropertyList other;
    other.set("LastPane", 5);
    other.set("WindowGeometry", "text");
    ASSERT_TRUE(bool(other.write(path)));
    HostSettings settings(path);
    EXPECT_EQ(settings.lastPane(), "");
    EXPECT_EQ(settings.windowGeometry(), Bytes());
}

TEST_F(HostSettingsTest, save_damagedFile_isSetAsideFirst)
{
    write(path, "no property list");
    HostSettings settings(path);
    settings.setLastPane("x");
    settings.save();
    EXPECT_EQ(HostSettings(path).lastPane(), "x");
    write(path, "damaged again");
    HostSettings again(path);
    again.setLastPane("y");
    again.save();
    EXPECT_EQ(HostSettings(path).lastPane(), "y");
    EXPECT_THAT(contentsAside(), UnorderedElementsAre("no property list", "damaged again"));
}

TEST_F(HostSettingsTest, save_damagedFileThatCannotBeSetAside_isLeft)
{
    FakeFileSystem files;
    const Override<FileSystem> override(files);
    files.addFolder(path.parent_path());
    ASSERT_TRUE(files.createFile(path, bytesOf("no property list"), 0644));
    HostSettings settings(path);
    settings.setLastPane("x");
    files.failCall(0, ErrorCode::Permission);
    settings.save();
    files.failCall(-1, ErrorCode::Io);
    EXPECT_EQ(stringOf(*files.readFile(path, 100)), "no property list");
}

TEST_F(HostSettingsTest, save_fileThatCouldNotBeReadThisTime_isLeft)
{
    PropertyList sound;
    sound.set("LastPane", "old");
    FakeFileSystem files;
    const Override<FileSystem> override(files);
    files.addFile(path, *sound.toXml());
    files.failCall(0, ErrorCode::Io);
    HostSettings settings(path);
    files.failCall(-1, ErrorCode::Io);
    settings.setLastPane("new");
    settings.save();
    EXPECT_EQ(HostSettings(path).lastPane(), "old");
}

TEST_F(HostSettingsTest, save_anyCallFails_keepsTheOldFileOrTheNewOne)
{
    for (const std::string old : {"no property list", ""}) {
        for (int failing = 0;; ++failing) {
            ASSERT_LT(failing, 100);
            FakeFileSystem files;
            const Override<FileSystem> override(files);
            files.addFolder(path.parent_path());
            PropertyList earlier;
            earlier.set("LastPane", "old");
            const Bytes before = old.empty() ? *earlier.toXml() : bytesOf(old);
            ASSERT_TRUE(bool(files.createFile(path, before, 0644)));
            HostSettings settings(path);
            settings.setLastPane("new");
            files.failCall(failing, ErrorCode::NoSpace);
            settings.save();
            const bool done = files.calls() <= failing;
            files.failCall(-1, ErrorCode::Io);
            const auto now = files.readFile(path, 10000);
            bool isKept = now && *now == before;
            const auto names = files.entries(path.parent_path());
            ASSERT_TRUE(names);
            for (const std::string &name : *names)
                isKept |= name.starts_with("settings.plist.damaged-") &&
                          *files.readFile(path.parent_path() / name, 10000) == before;
            const bool isNew = now && HostSettings(path).lastPane() == "new";
            EXPECT_TRUE(isKept || (old.empty() && isNew)) << "lost when call " << failing << " failed";
            if (done) {
                EXPECT_TRUE(isNew);
                break;
            }
        }
    }
}
