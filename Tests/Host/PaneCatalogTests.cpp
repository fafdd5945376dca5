#include "Host/PaneCatalog.h"

#include "Platform/Bundle.h"
#include "Tests/Support/Damage.h"
#include "Tests/Support/Panes/TestPanes.h"
#include "Tests/Support/PrivateHome.h"

#include <gmock/gmock.h>

#include <fstream>

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::IsEmpty;

namespace fs = std::filesystem;

namespace {

class PaneCatalogTest : public ::testing::Test
{
protected:
    static std::vector<std::string> names(const std::vector<PaneListing> &panes)
    {
        std::vector<std::string> names;
        for (const PaneListing &pane : panes)
            names.push_back(pane.name);
        return names;
    }

    Path mine = PrivateHome::current().makeFolder("mine");
    Path everybodys = PrivateHome::current().makeFolder("everybodys");
};

} // namespace

TEST_F(PaneCatalogTest, paneFolders_areTheUsersBeforeTheMachines)
{
    const std::vector<Path> folders = paneFolders();
    ASSERT_GE(folders.size(), 3u);
    const std::vector<Path> last(folders.end() - 3, folders.end());
    EXPECT_THAT(last, ElementsAre(PrivateHome::current().home() / ".local/share/PreferencePanes",
                                  "/usr/local/share/PreferencePanes", "/usr/share/PreferencePanes"));
}

TEST_F(PaneCatalogTest, findPanes_missingAndEmptyFolders_areNoFault)
{
    EXPECT_THAT(findPanes({mine, everybodys, mine / "missing"}), IsEmpty());
}

TEST_F(PaneCatalogTest, findPanes_areSortedByName)
{
    makeTestPane(everybodys, "Beta", "com.b");
    makeTestPane(mine, "Gamma", "com.g");
    makeTestPane(everybodys, "Alpha", "com.a");
    fs::create_directories(mine / "Other.app/Contents");
    EXPECT_THAT(names(findPanes({mine, everybodys})), ElementsAre("Alpha", "Beta", "Gamma"));
}

TEST_F(PaneCatalogTest, findPanes_sameIdentifierTwice_listsTheFirst)
{
    const Path first = makeTestPane(mine, "Twin", "com.twin");
    makeTestPane(everybodys, "Twin", "com.twin");
    const std::vector<PaneListing> panes = findPanes({mine, everybodys});
    ASSERT_EQ(panes.size(), 1u);
    EXPECT_EQ(panes.front().path, first);
}

TEST_F(PaneCatalogTest, findPanes_damagedBundles_areListedByTheirFileNames)
{
    fs::create_directories(mine / "Empty.prefPane");
    fs::create_directories(mine / "Broken.prefPane/Contents");
    std::ofstream(mine / "Broken.prefPane/Contents/Info.plist") << "<plist";
    std::ofstream(mine / "File.prefPane") << "not even a folder";
    EXPECT_THAT(names(findPanes({mine})), ElementsAre("Broken", "Empty", "File"));
}

class DamagedInformation : public PaneCatalogTest, public ::testing::WithParamInterface<Damage>
{
};

TEST_P(DamagedInformation, findPanes_listsTheBundleByItsFileNameAndTheOthers)
{
    makeTestPane(mine, "Sound", "com.s");
    const Path information = makeTestPane(mine, "Damaged", "com.d") / "Contents/Info.plist";
    GetParam().apply(information);
    const Precious precious(information);
    EXPECT_FALSE(Bundles::current().open(mine / "Damaged.prefPane"));
    const std::vector<PaneListing> panes = findPanes({mine});
    EXPECT_THAT(names(panes), ElementsAre("Damaged", "Sound"));
    EXPECT_EQ(findPane("com.d", panes), std::nullopt);
    EXPECT_TRUE(findPane("com.s", panes));
    EXPECT_TRUE(precious.isThere());
}

INSTANTIATE_TEST_SUITE_P(, DamagedInformation, ::testing::ValuesIn(Damages::kAll),
                         [](const auto &each) { return std::string(each.param.name); });

TEST_F(PaneCatalogTest, describePane_labelAndIcon_areTakenFromInfoPlist)
{
    const Path path = makeTestPane(mine, "Pane", "com.p", TestPlugin::Recording,
                                   {{"NSPrefPaneIconLabel", "Label"}, {"NSPrefPaneIconFile", "picture.png"}});
    EXPECT_EQ(describePane(path), (PaneListing{path, "com.p", "Label", {}}));
    std::ofstream(path / "Contents/Resources/picture.png") << "png";
    EXPECT_EQ(describePane(path).icon, path / "Contents/Resources/picture.png");
    EXPECT_EQ(describePane(path.native() + "/").path, path);
}

TEST_F(PaneCatalogTest, findPane_byPathNameOrIdentifier)
{
    const Path path = makeTestPane(mine, "Pane", "com.p");
    const Path elsewhere = makeTestPane(everybodys, "Elsewhere", "com.e");
    const std::vector<PaneListing> panes = findPanes({mine});
    for (const std::string &argument : {path.native(), path.native() + "/", std::string("Pane"),
                                        std::string("Pane.prefPane"), std::string("com.p")}) {
        const std::optional<PaneListing> found = findPane(argument, panes);
        ASSERT_TRUE(found) << argument;
        EXPECT_EQ(found->path, path) << argument;
    }
    EXPECT_EQ(findPane(elsewhere.native(), panes)->identifier, "com.e");
    EXPECT_EQ(findPane("Elsewhere", panes), std::nullopt);
}
