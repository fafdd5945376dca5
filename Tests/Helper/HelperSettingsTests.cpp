#include "Helper/HelperSettings.h"

#include "Tests/Support/PrivateHome.h"

#include <gmock/gmock.h>

#include <fstream>
#include <ostream>

namespace {

struct Row
{
    const char *name;
    const char *content; ///< of the dictionary; whole file when it begins otherwise
    bool active;
    bool checkUpdates;
    bool visible;
    bool isTrouble;

    friend void PrintTo(const Row &row, std::ostream *out) { *out << row.name; }
};

class HelperSettingsRows : public ::testing::TestWithParam<Row>
{
};

const Row kRows[] = {
    {"empty_dictionary", "<dict/>", true, true, true, false},
    {"only_active", "<dict><key>active</key><false/></dict>", false, true, true, false},
    {"all_off", "<dict><key>active</key><false/><key>checkUpdates</key><false/><key>visible</key><false/></dict>",
     false, false, false, false},
    {"all_on", "<dict><key>active</key><true/><key>checkUpdates</key><true/><key>visible</key><true/></dict>", true,
     true, true, false},
    {"numbers", "<dict><key>active</key><integer>0</integer><key>visible</key><integer>1</integer></dict>", false, true,
     true, false},
    {"texts", "<dict><key>active</key><string>NO</string><key>visible</key><array/></dict>", false, true, true, false},
    {"no_dictionary", "<array/>", true, true, true, true},
    {"damaged", "<dict><key>active</key><false/>", true, true, true, true},
};

} // namespace

TEST_P(HelperSettingsRows, read_content_isUnderstood)
{
    const Path file = PrivateHome::current().root() / "defaults.plist";
    const std::string content = std::string("<plist version=\"1.0\">") + GetParam().content + "</plist>";
    std::ofstream(file) << content;
    const HelperSettings settings = HelperSettings::read(file);
    EXPECT_EQ(settings.active, GetParam().active);
    EXPECT_EQ(settings.checkUpdates, GetParam().checkUpdates);
    EXPECT_EQ(settings.visible, GetParam().visible);
    EXPECT_EQ(!settings.trouble.empty(), GetParam().isTrouble) << settings.trouble;
    std::ifstream in(file);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), content) << "the file was written";
}

INSTANTIATE_TEST_SUITE_P(Rows, HelperSettingsRows, ::testing::ValuesIn(kRows),
                         [](const auto &row) { return row.param.name; });

TEST(HelperSettings, read_noFile_meansTheDefaultsAndMakesNone)
{
    const Path file = PrivateHome::current().root() / "defaults.plist";
    const HelperSettings settings = HelperSettings::read(file);
    EXPECT_TRUE(settings.active && settings.checkUpdates && settings.visible);
    EXPECT_FALSE(std::filesystem::exists(file));
}
