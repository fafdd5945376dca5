#include "Classes/PrefPane/ExclusionListFile.h"

#include "Platform/PropertyList.h"
#include "Tests/Support/Damage.h"
#include "Tests/Support/EmptyFolder.h"
#include "Tests/Support/FileContent.h"

#include <gmock/gmock.h>

#include <set>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>

namespace fs = std::filesystem;

using ::testing::ElementsAre;
using ::testing::IsEmpty;

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
    static void setModified(const Path &file, std::time_t seconds)
    {
        const timespec times[] = {{seconds, 0}, {seconds, 0}};
        ASSERT_EQ(::utimensat(AT_FDCWD, file.c_str(), times, 0), 0);
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

TEST_F(ExclusionListFileTest, write_overAnotherFile_keepsItBesideWithItsDate)
{
    writeFile(place, listText("<string>a</string>"));
    ASSERT_TRUE(file.read());
    const std::string others = listText("<string>of somebody else</string>");
    writeFile(place, others);
    setModified(place, 1'000'000'000);
    const auto kept = file.write({"b"});
    ASSERT_TRUE(kept);
    ASSERT_TRUE(*kept);
    EXPECT_EQ((*kept)->filename(), "list.plist.replaced-20010909-014640") << "whenever it is replaced";
    EXPECT_EQ(contentOf(**kept), others);
    EXPECT_THAT(stored(), ElementsAre("b"));
    EXPECT_EQ(*file.write({"c"}), std::nullopt) << "the new one is known";
}

TEST_F(ExclusionListFileTest, write_overOthersOfOneTime_keepsThemAll)
{
    for (const char *text : {"first", "second", "third"}) {
        writeFile(place, text);
        setModified(place, 1'000'000'000);
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

class DamagedList : public ExclusionListFileTest, public ::testing::WithParamInterface<Damage>
{
};

TEST_P(DamagedList, write_keepsWhatIsThere)
{
    for (const bool isReadBefore : {true, false}) {
        fs::remove_all(folder);
        fs::create_directory(folder);
        ExclusionListFile fresh(place);
        ASSERT_TRUE(fresh.write({"/precious"}));
        GetParam().apply(place);
        const Precious precious(place);
        if (isReadBefore)
            static_cast<void>(fresh.read());
        const auto written = fresh.write({"b"});
        EXPECT_TRUE(precious.isThere());
        if (written) {
            EXPECT_THAT(stored(), ElementsAre("b"));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(, DamagedList, ::testing::ValuesIn(Damages::kAll),
                         [](const auto &each) { return std::string(each.param.name); });

TEST_F(ExclusionListFileTest, write_overOneThatIsTooLarge_keepsIt)
{
    constexpr std::uintmax_t kSize = 65u << 20;
    writeFile(place, listText("<string>a</string>"));
    fs::resize_file(place, kSize);
    EXPECT_EQ(file.read().failure().code, ErrorCode::TooLarge);
    const auto kept = file.write({"b"});
    ASSERT_TRUE(kept);
    ASSERT_TRUE(*kept);
    EXPECT_EQ(fs::file_size(**kept), kSize);
    EXPECT_THAT(stored(), ElementsAre("b"));
}

/// Each of its versions stands there until this side has replaced it: then it must have been kept.
TEST_F(ExclusionListFileTest, write_whileAnotherProgramPutsItsOwn_losesNoneOfThem)
{
    constexpr int kVersions = 40;
    ASSERT_TRUE(file.write({"a"}));
    std::atomic<bool> isEnded = false;
    std::jthread other([&](std::stop_token stop) {
        for (int version = 0; version < kVersions; ++version) {
            const std::string text = "version " + std::to_string(version);
            writeFile(folder / "new", text);
            fs::rename(folder / "new", place);
            while (contentOf(place) == text && !stop.stop_requested())
                std::this_thread::yield();
        }
        isEnded = true;
    });
    for (int number = 0; !isEnded; ++number)
        ASSERT_TRUE(file.write({"a", std::to_string(number)}));
    other.join();
    std::set<std::string> kept;
    for (const std::string &name : names()) {
        if (name != "list.plist")
            kept.insert(contentOf(folder / name));
    }
    EXPECT_EQ(kept.size(), std::size_t(kVersions));
    EXPECT_EQ(stored().front(), "a");
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
