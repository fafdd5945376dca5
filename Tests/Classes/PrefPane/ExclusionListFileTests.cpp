#include "Classes/PrefPane/ExclusionListFile.h"

#include "Platform/Fake/FakeFileSystem.h"
#include "Platform/PropertyList.h"
#include "Tests/Support/EmptyFolder.h"
#include "Tests/Support/FileContent.h"

#include <gmock/gmock.h>

namespace fs = std::filesystem;

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

namespace {

std::string listText(const std::string &elements)
{
    return "<plist version=\"1.0\"><array>" + elements + "</array></plist>";
}

/// Over real files.
class ExclusionListFileTest : public ::testing::Test
{
protected:
    std::vector<std::string> names() const
    {
        std::vector<std::string> names;
        for (const auto &entry : fs::directory_iterator(folder))
            names.push_back(entry.path().filename());
        std::sort(names.begin(), names.end());
        return names;
    }
    std::vector<std::string> stored() const { return ExclusionListFile(place).read().valueOr({"unreadable"}); }

    Path folder = makeEmptyFolder("lists");
    Path place = folder / "list.plist";
    ExclusionListFile file{place};
};

} // namespace

TEST_F(ExclusionListFileTest, strings_areReadAsTheyWereWritten)
{
    ASSERT_TRUE(file.write({"/b", "/a", "/b", "/\xC3\xA4 & <c>", ""}));
    EXPECT_THAT(stored(), ElementsAre("/b", "/a", "/b", "/\xC3\xA4 & <c>", ""));
    EXPECT_THAT(names(), ElementsAre("list.plist"));
}

TEST_F(ExclusionListFileTest, read_missing_saysSo)
{
    EXPECT_EQ(file.read().failure().code, ErrorCode::NotFound);
}

TEST_F(ExclusionListFileTest, read_otherTypes_areLeftOut)
{
    writeFile(place, listText("<string>a</string><integer>1</integer><array/><string>b</string>"));
    EXPECT_THAT(*file.read(), ElementsAre("a", "b"));
}

TEST_F(ExclusionListFileTest, read_noArray_isCorrupt)
{
    for (const char *text : {"", "garbage", "<plist version=\"1.0\"><dict/></plist>"}) {
        writeFile(place, text);
        EXPECT_EQ(file.read().failure().code, ErrorCode::Corrupt) << text;
    }
}

TEST_F(ExclusionListFileTest, makeFrom_missing_copiesTheDefaultsByteByByte)
{
    writeFile(folder / "defaults", listText("<!-- why --><string>a</string>"));
    ASSERT_TRUE(file.makeFrom(folder / "defaults"));
    EXPECT_EQ(contentOf(place), contentOf(folder / "defaults"));
}

TEST_F(ExclusionListFileTest, makeFrom_existing_changesNothing)
{
    writeFile(folder / "defaults", listText("<string>a</string>"));
    for (const std::string &text : {listText(""), std::string("garbage"), std::string()}) {
        writeFile(place, text);
        EXPECT_TRUE(file.makeFrom(folder / "defaults"));
        EXPECT_EQ(contentOf(place), text);
    }
    fs::remove(place);
    fs::create_symlink(folder / "nowhere", place);
    EXPECT_TRUE(file.makeFrom(folder / "defaults"));
    EXPECT_FALSE(fs::exists(folder / "nowhere")) << "a planted link is not followed";
}

TEST_F(ExclusionListFileTest, makeFrom_defaultsMissing_makesNothing)
{
    EXPECT_FALSE(file.makeFrom(folder / "no defaults"));
    EXPECT_THAT(names(), IsEmpty());
}

TEST_F(ExclusionListFileTest, write_overTheOneThatWasRead_keepsNoOther)
{
    writeFile(place, listText("<string>a</string>"));
    ASSERT_TRUE(file.read());
    const auto kept = file.write({"b"});
    ASSERT_TRUE(kept);
    EXPECT_EQ(*kept, std::nullopt);
    ASSERT_TRUE(file.write({"c"}));
    EXPECT_THAT(names(), ElementsAre("list.plist"));
}

TEST_F(ExclusionListFileTest, write_overAnotherFile_keepsItBesideWithTheDate)
{
    writeFile(place, listText("<string>a</string>"));
    ASSERT_TRUE(file.read());
    const std::string others = listText("<string>of somebody else</string>");
    writeFile(place, others);
    const auto kept = file.write({"b"});
    ASSERT_TRUE(kept);
    ASSERT_TRUE(*kept);
    EXPECT_THAT((*kept)->filename().native(), StartsWith("list.plist.replaced-2"));
    EXPECT_EQ(contentOf(**kept), others);
    EXPECT_THAT(stored(), ElementsAre("b"));
    EXPECT_EQ(*file.write({"c"}), std::nullopt) << "the new one is known";
}

TEST_F(ExclusionListFileTest, write_twiceWithinASecond_keepsBothOthers)
{
    for (const char *text : {"first", "second", "third"}) {
        writeFile(place, text);
        ASSERT_TRUE(file.write({"b"}));
    }
    std::vector<std::string> contents;
    for (const std::string &name : names()) {
        if (name != "list.plist")
            contents.push_back(contentOf(folder / name));
    }
    EXPECT_THAT(contents, ::testing::UnorderedElementsAre("first", "second", "third"));
}

TEST_F(ExclusionListFileTest, write_overWhatCouldNotBeRead_keepsIt)
{
    writeFile(place, "garbage");
    EXPECT_FALSE(file.read());
    ASSERT_TRUE(*file.write({"b"}));
    writeFile(place, listText("<string>a</string><integer>1</integer>"));
    ASSERT_TRUE(file.read());
    EXPECT_TRUE(*file.write({"b"})) << "the number would be lost";
}

TEST_F(ExclusionListFileTest, write_whatIsNoText_changesNothing)
{
    ASSERT_TRUE(file.write({"a"}));
    EXPECT_FALSE(file.write({"\xFF"}));
    EXPECT_THAT(stored(), ElementsAre("a"));
}

TEST_F(ExclusionListFileTest, write_whatXmlCannotHold_isReadBack)
{
    ASSERT_TRUE(file.write({"/a\x01"
                            "b",
                            "/c\xEF\xBF\xBF"}));
    EXPECT_THAT(stored(), ElementsAre("/a\x01"
                                      "b",
                                      "/c\xEF\xBF\xBF"));
    ASSERT_TRUE(file.write({"/a\x01"
                            "b",
                            "/d"}));
    EXPECT_THAT(stored(), ElementsAre("/a\x01"
                                      "b",
                                      "/d"));
}

TEST_F(ExclusionListFileTest, write_toALink_isRefused)
{
    writeFile(folder / "target", listText("<string>a</string>"));
    fs::create_symlink(folder / "target", place);
    EXPECT_FALSE(file.write({"b"}));
    EXPECT_EQ(contentOf(folder / "target"), listText("<string>a</string>"));
}

TEST(ExclusionListFileFaults, write_anyCallFails_oldListStandsAndTheOthersFileIsNowhereLost)
{
    const std::string old = listText("<string>of somebody else</string>");
    for (int failing = 0;; ++failing) {
        FakeFileSystem files;
        const Override<FileSystem> installed(files);
        files.addFolder("/f");
        files.addFile("/f/list.plist", bytesOf(old));
        ExclusionListFile file("/f/list.plist");
        files.failCall(failing, ErrorCode::NoSpace);
        const bool isWritten = bool(file.write({"new"}));
        files.failCall(-1, ErrorCode::NoSpace);
        bool isThere = false;
        const auto names = files.entries("/f");
        for (const std::string &name : *names)
            isThere = isThere || stringOf(*files.readFile(Path("/f") / name, 10000)) == old;
        ASSERT_TRUE(isThere) << "lost when call " << failing << " failed";
        if (isWritten) {
            EXPECT_GE(failing, 3);
            break;
        }
        ASSERT_EQ(stringOf(*files.readFile("/f/list.plist", 10000)), old);
    }
}
