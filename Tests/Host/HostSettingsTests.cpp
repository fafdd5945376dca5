#include "Host/HostSettings.h"

#include "Platform/Fake/FakeFileSystem.h"
#include "Platform/FileSystem.h"
#include "Tests/Support/PrivateHome.h"

#include <gtest/gtest.h>

#include <fstream>

namespace fs = std::filesystem;

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

    Path path = PrivateHome::current().root() / "new/settings.plist";
};

} // namespace

TEST_F(HostSettingsTest, defaultPath_isInTheUsersConfiguration)
{
    EXPECT_EQ(HostSettings::defaultPath(), PrivateHome::current().home() / ".config/com.dovrane.Preferences.plist");
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
    EXPECT_EQ(contentOf(path.native() + ".damaged"), "no property list");
    EXPECT_EQ(HostSettings(path).lastPane(), "x");
}

TEST_F(HostSettingsTest, save_damagedFileThatCannotBeSetAside_isLeft)
{
    write(path, "no property list");
    write(path.native() + ".damaged", "an earlier one");
    HostSettings settings(path);
    settings.setLastPane("x");
    settings.save();
    EXPECT_EQ(contentOf(path), "no property list");
    EXPECT_EQ(contentOf(path.native() + ".damaged"), "an earlier one");
}

TEST_F(HostSettingsTest, save_anyCallFails_keepsTheOldFileOrTheNewOne)
{
    for (const std::string old : {"no property list", ""}) {
        for (int failing = 0;; ++failing) {
            ASSERT_LT(failing, 100);
            FakeFileSystem files;
            const Override<FileSystem> override(files);
            ASSERT_TRUE(bool(files.makeDirectory("/s", 0700)));
            PropertyList earlier;
            earlier.set("LastPane", "old");
            const Bytes before = old.empty() ? *earlier.toXml() : bytesOf(old);
            ASSERT_TRUE(bool(files.createFile("/s/p", before, 0644)));
            HostSettings settings("/s/p");
            settings.setLastPane("new");
            files.failCall(failing, ErrorCode::NoSpace);
            settings.save();
            const bool done = files.calls() <= failing;
            files.failCall(-1, ErrorCode::Io);
            const auto now = files.readFile("/s/p", 10000);
            const auto aside = files.readFile("/s/p.damaged", 10000);
            const bool isKept = (now && *now == before) || (aside && *aside == before);
            const bool isNew = now && HostSettings("/s/p").lastPane() == "new";
            EXPECT_TRUE(isKept || (old.empty() && isNew)) << "lost when call " << failing << " failed";
            if (done) {
                EXPECT_TRUE(isNew);
                break;
            }
        }
    }
}
