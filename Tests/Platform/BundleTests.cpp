#include "Platform/Bundle.h"
#include "Platform/Fake/FakeBundles.h"
#include "Platform/Linux/LinuxBundles.h"
#include "Tests/Support/PrivateHome.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <functional>
#include <memory>

namespace fs = std::filesystem;

using Dictionary = PropertyList::Dictionary;

static Path root()
{
    return PrivateHome::current().root();
}

static void putOnDisk(const Path &path, const PropertyList &information)
{
    fs::create_directories(path / "Contents");
    ASSERT_TRUE(information.write(path / "Contents/Info.plist"));
}

// What every implementation answers.

struct Implementation
{
    const char *name;
    std::unique_ptr<Bundles> (*make)();
    void (*add)(Bundles &bundles, const Path &path, const PropertyList &information);
};

static void PrintTo(const Implementation &implementation, std::ostream *stream)
{
    *stream << implementation.name;
}

static const Implementation kLinux = {
    "linux", []() -> std::unique_ptr<Bundles> { return std::make_unique<LinuxBundles>(); },
    [](Bundles &, const Path &path, const PropertyList &information) { putOnDisk(path, information); }};

static const Implementation kFake = {"fake",
                                     []() -> std::unique_ptr<Bundles> { return std::make_unique<FakeBundles>(); },
                                     [](Bundles &bundles, const Path &path, const PropertyList &information) {
                                         static_cast<FakeBundles &>(bundles).add(path, information);
                                     }};

class BundlesContract : public ::testing::TestWithParam<Implementation>
{
protected:
    void add(const Path &place, const PropertyList &content) { GetParam().add(*bundles, place, content); }

    const std::unique_ptr<Bundles> bundles = GetParam().make();
    const Path path = root() / "Some Pane.prefPane";
    const PropertyList information = Dictionary{{"CFBundleIdentifier", "com.example.a"}, {"CFBundleVersion", "1.2"}};
};

INSTANTIATE_TEST_SUITE_P(, BundlesContract, ::testing::Values(kLinux, kFake),
                         [](const auto &row) { return row.param.name; });

TEST_P(BundlesContract, open_existing_answersWhatItsInformationSays)
{
    add(path, information);
    const Result<Bundle> bundle = bundles->open(path);
    ASSERT_TRUE(bundle) << bundle.failure().context;
    EXPECT_EQ(bundle->path(), path);
    EXPECT_EQ(bundle->information(), information);
    EXPECT_EQ(bundle->identifier(), "com.example.a");
    EXPECT_EQ(bundle->version(), "1.2");
    EXPECT_EQ(bundles->open(path / "").valueOr({}).path(), path);
}

TEST_P(BundlesContract, open_missing_isNotFound)
{
    const Result<Bundle> bundle = bundles->open(path);
    ASSERT_FALSE(bundle);
    EXPECT_EQ(bundle.failure().code, ErrorCode::NotFound);
}

TEST_P(BundlesContract, open_informationIsNoDictionary_isCorrupt)
{
    add(path, PropertyList::Array{1});
    const Result<Bundle> bundle = bundles->open(path);
    ASSERT_FALSE(bundle);
    EXPECT_EQ(bundle.failure().code, ErrorCode::Corrupt);
}

TEST_P(BundlesContract, open_afterAnUpdate_isTheNewOneAndTheOldValueStays)
{
    add(path, information);
    const Bundle before = *bundles->open(path);
    add(path, Dictionary{{"CFBundleVersion", "2.0"}});
    EXPECT_EQ(before.version(), "1.2");
    EXPECT_EQ(bundles->open(path).valueOr({}).version(), "2.0");
}

TEST_P(BundlesContract, main_executableInNoBundle_isNotFound)
{
    const Result<Bundle> bundle = bundles->main();
    ASSERT_FALSE(bundle);
    EXPECT_EQ(bundle.failure().code, ErrorCode::NotFound);
}

TEST_P(BundlesContract, withIdentifier_remembered_isFound)
{
    add(path, information);
    EXPECT_FALSE(bundles->withIdentifier("com.example.a"));
    bundles->remember(*bundles->open(path));
    ASSERT_TRUE(bundles->withIdentifier("com.example.a"));
    EXPECT_EQ(bundles->withIdentifier("com.example.a")->path(), path);
    EXPECT_FALSE(bundles->withIdentifier("com.example.b"));
}

TEST_P(BundlesContract, withIdentifier_rememberedTwice_isTheLater)
{
    bundles->remember(Bundle(path, information));
    bundles->remember(Bundle(root() / "Other.prefPane", information));
    EXPECT_EQ(bundles->withIdentifier("com.example.a")->path(), root() / "Other.prefPane");
}

TEST_P(BundlesContract, withIdentifier_bundleWithoutOne_isNotFoundByNothing)
{
    bundles->remember(Bundle(path, PropertyList()));
    EXPECT_FALSE(bundles->withIdentifier(""));
}

// What the fake adds.

TEST(FakeBundles, main_whenSet_isThatBundleAndFoundByIdentifier)
{
    FakeBundles bundles;
    bundles.add("/a.app", Dictionary{{"CFBundleIdentifier", "com.example.a"}});
    bundles.setMain("/a.app");
    EXPECT_EQ(bundles.main().valueOr({}).path(), "/a.app");
    EXPECT_TRUE(bundles.withIdentifier("com.example.a"));
    bundles.failures.failCall(0, ErrorCode::Permission);
    EXPECT_FALSE(bundles.main());
}

// What is Linux's own.

static std::string outputOf(const Path &program)
{
    std::string text;
    FILE *const pipe = ::popen(("'" + program.native() + "'").c_str(), "r");
    for (int c = std::fgetc(pipe); c != EOF; c = std::fgetc(pipe))
        text += char(c);
    ::pclose(pipe);
    return text;
}

TEST(LinuxBundles, open_relativePath_becomesAbsolute)
{
    putOnDisk(root() / "a.app", PropertyList());
    fs::current_path(root());
    EXPECT_EQ(LinuxBundles().open("a.app/").valueOr({}).path(), root() / "a.app");
}

TEST(LinuxBundles, open_relativePathInAFolderThatIsGone_isNotFound)
{
    const Path folder = PrivateHome::current().makeFolder("gone");
    fs::current_path(folder);
    fs::remove(folder);
    EXPECT_EQ(LinuxBundles().open("App.app").failure().code, ErrorCode::NotFound);
}

TEST(LinuxBundles, open_damagedInformation_isCorrupt)
{
    putOnDisk(root() / "a.app", PropertyList());
    std::ofstream(root() / "a.app/Contents/Info.plist") << "<plist>";
    const Result<Bundle> bundle = LinuxBundles().open(root() / "a.app");
    ASSERT_FALSE(bundle);
    EXPECT_EQ(bundle.failure().code, ErrorCode::Corrupt);
}

TEST(LinuxBundles, main_programInABundle_isThatBundleEvenThroughALink)
{
    const Path bundle = root() / "Some Probe.app";
    putOnDisk(bundle, Dictionary{{"CFBundleIdentifier", "com.example.probe"}});
    fs::create_directory(bundle / "Contents/MacOS");
    fs::copy_file(TAMSEL_BUNDLE_PROBE, bundle / "Contents/MacOS/Probe");
    fs::create_symlink(bundle / "Contents/MacOS/Probe", root() / "link");
    EXPECT_EQ(outputOf(bundle / "Contents/MacOS/Probe"), bundle.native() + " com.example.probe");
    EXPECT_EQ(outputOf(root() / "link"), bundle.native() + " com.example.probe");
}

TEST(LinuxBundles, main_programElsewhere_isNotFound)
{
    const std::string notFound = "failed " + std::to_string(int(ErrorCode::NotFound));
    const Path bundle = root() / "a.app";
    putOnDisk(bundle, PropertyList());
    fs::create_directory(bundle / "Contents/Resources");
    fs::copy_file(TAMSEL_BUNDLE_PROBE, bundle / "Contents/Resources/Probe");
    EXPECT_EQ(outputOf(bundle / "Contents/Resources/Probe"), notFound);
    fs::create_directories(root() / "Contents/MacOS");
    fs::copy_file(TAMSEL_BUNDLE_PROBE, root() / "Contents/MacOS/Probe");
    EXPECT_EQ(outputOf(root() / "Contents/MacOS/Probe"), notFound);
}

// The value.

class BundleTest : public ::testing::Test
{
protected:
    const Path path = PrivateHome::current().makeFolder("Some Pane.prefPane");
};

TEST_F(BundleTest, name_isTheInformationsOrTheFiles)
{
    EXPECT_EQ(Bundle(path, Dictionary{{"CFBundleName", "Given"}}).name(), "Given");
    EXPECT_EQ(Bundle(path, Dictionary{{"CFBundleName", ""}}).name(), "Some Pane");
    EXPECT_EQ(Bundle(path, PropertyList()).name(), "Some Pane");
}

TEST_F(BundleTest, executable_plainName_liesInMacOS)
{
    EXPECT_EQ(Bundle(path, Dictionary{{"CFBundleExecutable", "Program"}}).executable(),
              path / "Contents/MacOS/Program");
}

TEST_F(BundleTest, executable_noPlainName_isEmpty)
{
    const std::string withNul("Program\0", 8);
    for (const std::string &name : {std::string(), std::string("."), std::string(".."), std::string("../Program"),
                                    std::string("a/b"), std::string("/bin/sh"), std::string("a/"), withNul})
        EXPECT_TRUE(Bundle(path, Dictionary{{"CFBundleExecutable", name}}).executable().empty()) << name;
    EXPECT_TRUE(Bundle(path, Dictionary{{"CFBundleExecutable", 1}}).executable().empty());
    EXPECT_TRUE(Bundle(path, PropertyList()).executable().empty());
}

TEST_F(BundleTest, resource_fileOrDirectory_isFound)
{
    const Path resources = PrivateHome::current().makeFolder("Some Pane.prefPane/Contents/Resources");
    fs::create_directory(resources / "Helper.app");
    std::ofstream(resources / "tool") << "content";
    const Bundle bundle(path, PropertyList());
    EXPECT_EQ(bundle.resource("Helper", "app"), resources / "Helper.app");
    EXPECT_EQ(bundle.resource("tool"), resources / "tool");
    EXPECT_EQ(bundle.resource("tool", "txt"), std::nullopt);
    EXPECT_EQ(bundle.resource("missing"), std::nullopt);
}

TEST_F(BundleTest, resource_noPlainName_isNothing)
{
    const Path resources = PrivateHome::current().makeFolder("Some Pane.prefPane/Contents/Resources/folder");
    std::ofstream(resources / "file.txt") << "content";
    std::ofstream(resources.parent_path() / "file") << "content";
    const Bundle bundle(path, PropertyList());
    EXPECT_EQ(bundle.resource("folder/file", "txt"), std::nullopt);
    EXPECT_EQ(bundle.resource("folder/file.txt"), std::nullopt);
    EXPECT_EQ(bundle.resource("file", "/../file"), std::nullopt);
    EXPECT_EQ(bundle.resource(".."), std::nullopt);
    EXPECT_EQ(bundle.resource("."), std::nullopt);
    EXPECT_EQ(bundle.resource("", "."), std::nullopt);
    EXPECT_EQ(bundle.resource(""), std::nullopt);
    EXPECT_EQ(bundle.resource(std::string("file\0x", 6)), std::nullopt);
    EXPECT_NE(bundle.resource("file"), std::nullopt);
}

TEST_F(BundleTest, empty_hasNoResources)
{
    EXPECT_EQ(Bundle().resource("a"), std::nullopt);
    EXPECT_EQ(Bundle().identifier(), "");
}
