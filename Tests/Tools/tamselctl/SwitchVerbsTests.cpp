#include "Tests/Support/PrivateBus.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/WaitFor.h"
#include "Tests/Tools/tamselctl/Tamselctl.h"

#include "Platform/PropertyList.h"

#include <fstream>
#include <iterator>

#include <gmock/gmock.h>

using ::testing::HasSubstr;
using ::testing::IsEmpty;
namespace fs = std::filesystem;

class SwitchVerbs : public ::testing::Test
{
protected:
    void SetUp() override { fs::create_directories(m_support); }

    static PropertyList::Dictionary settingsIn(const fs::path &file)
    {
        const auto list = PropertyList::read(file);
        EXPECT_TRUE(list) << (list ? "" : list.failure().context);
        return list && list->as<PropertyList::Dictionary>() ? *list->as<PropertyList::Dictionary>()
                                                            : PropertyList::Dictionary();
    }

    static std::string contentOf(const fs::path &file)
    {
        std::ifstream stream(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    const fs::path m_support = PrivateHome::current().home() / ".local/share/Tamsel";
    const fs::path m_settings = m_support / "defaults.plist";
    const fs::path m_autostart = PrivateHome::current().home() / ".config/autostart";
    const fs::path m_item = m_autostart / "com.dovrane.TamselHelper.desktop";
};

TEST_F(SwitchVerbs, offWithoutAFile_storesTheOneSetting)
{
    const Ended ended = tamselctl({"off"});
    EXPECT_EQ(ended.exitCode, 0) << ended.err;
    EXPECT_EQ(settingsIn(m_settings), (PropertyList::Dictionary{{"active", false}}));
    EXPECT_FALSE(fs::exists(m_autostart)) << "a list of login items is never made here";
}

TEST_F(SwitchVerbs, off_keepsEveryOtherSetting)
{
    const PropertyList::Dictionary before = {
        {"visible", false}, {"active", true}, {"of another version", PropertyList::Array{1, "two"}}};
    ASSERT_TRUE(PropertyList(before).write(m_settings));
    EXPECT_EQ(tamselctl({"off"}).exitCode, 0);
    PropertyList::Dictionary after = before;
    after[1].second = false;
    EXPECT_EQ(settingsIn(m_settings), after);
}

TEST_F(SwitchVerbs, off_tellsTheHelperAfterTheFileWasWritten)
{
    const PrivateBus bus;
    RunningTamselctl listener({"listen", "--count", "1", "--timeout", "20"});
    ASSERT_TRUE(listener.waitForError("listening"));
    EXPECT_EQ(tamselctl({"off"}).exitCode, 0);
    const Ended heard = listener.waitForEnd();
    EXPECT_EQ(heard.out, "com.dovrane.pellix.active\n");
    EXPECT_EQ(settingsIn(m_settings), (PropertyList::Dictionary{{"active", false}}));
}

TEST_F(SwitchVerbs, off_removesTheLoginItemAndNoOther)
{
    fs::create_directories(m_autostart);
    std::ofstream(m_item) << "[Desktop Entry]\nType=Application\nName=Tamsel\nExec=/x/TamselHelper.app\n"
                             "X-Tamsel-Path=/x/TamselHelper.app\n";
    std::ofstream(m_autostart / "other.desktop") << "[Desktop Entry]\nType=Application\nName=Other\nExec=/bin/true\n";
    EXPECT_EQ(tamselctl({"off"}).exitCode, 0);
    EXPECT_FALSE(fs::exists(m_item));
    EXPECT_TRUE(fs::exists(m_autostart / "other.desktop"));
}

TEST_F(SwitchVerbs, on_launchesTheHelperAndAddsTheLoginItem)
{
    const PrivateBus bus;
    fs::create_directories(m_autostart);
    const Ended ended = tamselctl({"on"});
    EXPECT_EQ(ended.exitCode, 0) << ended.err;
    EXPECT_EQ(settingsIn(m_settings), (PropertyList::Dictionary{{"active", true}}));
    EXPECT_THAT(contentOf(m_item), HasSubstr("TamselHelper.app"));
    const auto isRunning = [] {
        return jsonLines(tamselctl({"status", "--json"}).out).at(0)[QStringLiteral("helperRunning")].toBool();
    };
    EXPECT_TRUE(waitFor(isRunning, 60'000));
    EXPECT_EQ(tamselctl({"post", "pellixHelperShouldQuit"}).exitCode, 0);
    EXPECT_TRUE(waitFor([&] { return !isRunning(); }, 60'000));
}

class UnreadableSettings : public SwitchVerbs, public ::testing::WithParamInterface<const char *>
{
};

TEST_P(UnreadableSettings, off_keepsThemAside)
{
    std::ofstream(m_settings, std::ios::binary) << GetParam();
    const Ended ended = tamselctl({"off"});
    EXPECT_EQ(ended.exitCode, 0);
    EXPECT_EQ(settingsIn(m_settings), (PropertyList::Dictionary{{"active", false}}));
    std::vector<fs::path> aside;
    for (const auto &entry : fs::directory_iterator(m_support)) {
        if (entry.path().filename().native().starts_with("defaults.plist.damaged-"))
            aside.push_back(entry.path());
    }
    ASSERT_EQ(aside.size(), 1u);
    EXPECT_EQ(contentOf(aside[0]), GetParam());
    EXPECT_THAT(ended.err, HasSubstr(aside[0].native()));
}

INSTANTIATE_TEST_SUITE_P(Contents, UnreadableSettings,
                         ::testing::Values("not a property list", "", "bplist00",
                                           "<plist version=\"1.0\"><array/></plist>"));

TEST_F(SwitchVerbs, settingsBehindALink_areLeft)
{
    const fs::path target = PrivateHome::current().makeFolder("elsewhere") / "file";
    std::ofstream(target) << "<plist version=\"1.0\"><dict/></plist>";
    fs::create_symlink(target, m_settings);
    const std::string before = contentOf(target);
    EXPECT_EQ(tamselctl({"off"}).exitCode, 1);
    EXPECT_TRUE(fs::is_symlink(m_settings));
    EXPECT_EQ(contentOf(target), before);
}
