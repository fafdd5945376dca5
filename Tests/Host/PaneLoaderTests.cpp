#include "Host/PaneLoader.h"

#include "Tests/Support/Panes/TestPanes.h"
#include "Tests/Support/PrivateHome.h"

#include <gtest/gtest.h>

#include <fstream>

namespace fs = std::filesystem;

namespace {

class PaneLoaderTest : public ::testing::Test
{
protected:
    static std::string reasonOf(const Path &path)
    {
        const PaneOrFault loaded = loadPane(path);
        const auto *const fault = std::get_if<PaneFault>(&loaded);
        return fault ? fault->reason.toStdString() : "none";
    }

    std::string reasonFailingAt(const std::string &call)
    {
        return reasonOf(makeTestPane(folder, call, "com." + call, TestPlugin::Recording, {{"FailAt", call}}));
    }

    Path folder = PrivateHome::current().makeFolder("panes");
};

} // namespace

TEST_F(PaneLoaderTest, soundBundle_givesItsPaneAndIsRemembered)
{
    const Path path = makeTestPane(folder, "Sound", "com.sound");
    PaneOrFault loaded = loadPane(path);
    ASSERT_TRUE(std::holds_alternative<std::unique_ptr<PreferencePane>>(loaded));
    EXPECT_EQ(std::get<0>(loaded)->bundle().path(), path);
    const std::optional<Bundle> remembered = Bundles::current().withIdentifier("com.sound");
    ASSERT_TRUE(remembered);
    EXPECT_EQ(remembered->path(), path);
}

TEST_F(PaneLoaderTest, relativePath_isLoadedToo)
{
    makeTestPane(folder, "Sound", "com.sound");
    fs::current_path(folder);
    EXPECT_EQ(reasonOf("Sound.prefPane"), "none");
}

TEST_F(PaneLoaderTest, brokenBundles_eachHaveTheirReason)
{
    fs::create_directories(folder / "Broken.prefPane/Contents");
    std::ofstream(folder / "Broken.prefPane/Contents/Info.plist") << "<plist><dict><key>";
    const Path missing = folder / "Missing.prefPane";
    const std::pair<Path, std::string> rows[] = {
        {missing, "There is no preference pane at " + missing.native() + "."},
        {folder / "Broken.prefPane", "Its description (Info.plist) is damaged."},
        {makeTestPane(folder, "None", "com.none", TestPlugin::None), "Its program is missing."},
        {makeTestPane(folder, "Away", "com.away", TestPlugin::Recording, {{"CFBundleExecutable", "../../x"}}),
         "Its program is missing."},
        {makeTestPane(folder, "Text", "com.text", TestPlugin::Text), "Its program could not be loaded."},
        {makeTestPane(folder, "Foreign", "com.foreign", TestPlugin::Foreign), "Its program is no preference pane."},
        {makeTestPane(folder, "Throws", "com.throws", TestPlugin::Throwing),
         "Its program failed while it was started."}};
    for (const auto &[path, reason] : rows)
        EXPECT_EQ(reasonOf(path), reason) << path;
}

TEST_F(PaneLoaderTest, principalClass_failingOrMissing_isAFault)
{
    EXPECT_EQ(reasonFailingAt("makePane"), "Its program failed while it was started.");
    EXPECT_EQ(reasonFailingAt("noPane"), "Its program made no preference pane.");
    EXPECT_FALSE(Bundles::current().withIdentifier("com.noPane"));
}

TEST_F(PaneLoaderTest, throwingPlugin_namesWhatItThrew)
{
    const PaneOrFault loaded = loadPane(makeTestPane(folder, "Throws", "com.throws", TestPlugin::Throwing));
    EXPECT_EQ(std::get<PaneFault>(loaded).detail, QStringLiteral("no plug-in today"));
}

TEST_F(PaneLoaderTest, faultMendedOnDisk_loadsTheNextTime)
{
    const Path path = makeTestPane(folder, "Late", "com.late", TestPlugin::None);
    ASSERT_EQ(reasonOf(path), "Its program is missing.");
    makeTestPane(folder, "Late", "com.late");
    EXPECT_EQ(reasonOf(path), "none");
}

TEST_F(PaneLoaderTest, secondCopyOfALoadedBundle_isRefused)
{
    const Path first = makeTestPane(folder, "First", "com.twin");
    const Path second = makeTestPane(folder, "Second", "com.twin");
    ASSERT_EQ(reasonOf(first), "none");
    EXPECT_EQ(reasonOf(second), "Another copy of it is open already: " + first.native());
}
