#include "Platform/Fake/FakeFileSystem.h"
#include "Platform/PropertyList.h"
#include "Tests/Support/PrivateHome.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include <sys/stat.h>

namespace fs = std::filesystem;

using Array = PropertyList::Array;
using Dictionary = PropertyList::Dictionary;

static std::string contentOf(const Path &path)
{
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

TEST(PropertyList, new_isAnEmptyDictionary)
{
    ASSERT_NE(PropertyList().as<Dictionary>(), nullptr);
    EXPECT_TRUE(PropertyList().as<Dictionary>()->empty());
}

TEST(PropertyList, as_otherType_isNothing)
{
    const PropertyList list(1);
    EXPECT_EQ(list.as<bool>(), nullptr);
    EXPECT_EQ(list.as<double>(), nullptr);
    EXPECT_EQ(list.as<std::string>(), nullptr);
    ASSERT_NE(list.as<PropertyListInteger>(), nullptr);
    EXPECT_EQ(list.as<PropertyListInteger>()->bits, 1u);
}

TEST(PropertyList, set_newAndKnownKey_keepsTheOrder)
{
    PropertyList list;
    list.set("b", 1);
    list.set("a", 2);
    list.set("b", "three");
    EXPECT_EQ(list, (PropertyList(Dictionary{{"b", "three"}, {"a", 2}})));
    EXPECT_NE(list, (PropertyList(Dictionary{{"a", 2}, {"b", "three"}})));
}

TEST(PropertyList, remove_knownAndUnknownKey_leavesTheRest)
{
    PropertyList list = Dictionary{{"a", 1}, {"b", 2}};
    list.remove("a");
    list.remove("c");
    EXPECT_EQ(list, PropertyList(Dictionary{{"b", 2}}));
}

TEST(PropertyList, find_missingKeyOrNoDictionary_isNothing)
{
    const PropertyList list = Dictionary{{"a", 1}};
    ASSERT_NE(list.find("a"), nullptr);
    EXPECT_EQ(list.find("b"), nullptr);
    EXPECT_EQ(PropertyList(Array{"a"}).find("a"), nullptr);
    EXPECT_EQ(PropertyList("a").find("a"), nullptr);
}

TEST(PropertyList, string_missingOrOfAnotherType_isTheOther)
{
    const PropertyList list = Dictionary{{"text", "a"}, {"empty", ""}, {"number", 1}};
    EXPECT_EQ(list.string("text", "other"), "a");
    EXPECT_EQ(list.string("empty", "other"), "");
    EXPECT_EQ(list.string("number", "other"), "other");
    EXPECT_EQ(list.string("missing"), "");
}

// Files.

class PropertyListFile : public ::testing::Test
{
protected:
    const Path folder = PrivateHome::current().makeFolder("lists");
    const Path path = folder / "a.plist";
};

TEST_F(PropertyListFile, read_whatWasWritten_isTheSame)
{
    const PropertyList list = Dictionary{{"a", Array{1, "two", Bytes{3}}}};
    ASSERT_TRUE(list.write(path));
    const Result<PropertyList> again = PropertyList::read(path);
    ASSERT_TRUE(again) << again.failure().context;
    EXPECT_EQ(*again, list);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 1);
}

TEST_F(PropertyListFile, read_missing_isNotFound)
{
    const Result<PropertyList> list = PropertyList::read(path);
    ASSERT_FALSE(list);
    EXPECT_EQ(list.failure().code, ErrorCode::NotFound);
}

TEST_F(PropertyListFile, read_damaged_isCorruptAndNamesTheFile)
{
    std::ofstream(path) << "<plist>";
    const Result<PropertyList> list = PropertyList::read(path);
    ASSERT_FALSE(list);
    EXPECT_EQ(list.failure().code, ErrorCode::Corrupt);
    EXPECT_NE(list.failure().context.find(path.native()), std::string::npos) << list.failure().context;
}

TEST_F(PropertyListFile, read_moreThan64MiB_isTooLarge)
{
    std::ofstream(path) << "<plist>";
    fs::resize_file(path, (64u << 20) + 1);
    const Result<PropertyList> list = PropertyList::read(path);
    ASSERT_FALSE(list);
    EXPECT_EQ(list.failure().code, ErrorCode::TooLarge);
}

TEST_F(PropertyListFile, write_listThatCannotBeWritten_leavesTheOldFile)
{
    std::ofstream(path) << "precious";
    const Result<void> written = PropertyList("\xFF").write(path);
    ASSERT_FALSE(written);
    EXPECT_EQ(written.failure().code, ErrorCode::Corrupt);
    EXPECT_EQ(contentOf(path), "precious");
}

TEST_F(PropertyListFile, write_whatXmlCannotHold_isBinary)
{
    const PropertyList list = Dictionary{{"a", std::string("control\x01")}};
    ASSERT_FALSE(list.toXml());
    ASSERT_TRUE(list.write(path));
    EXPECT_EQ(PropertyList::read(path).valueOr(false), list);
}

TEST_F(PropertyListFile, write_link_isNotFollowed)
{
    std::ofstream(folder / "target") << "precious";
    fs::create_symlink(folder / "target", path);
    EXPECT_FALSE(PropertyList().write(path));
    EXPECT_EQ(contentOf(folder / "target"), "precious");
    EXPECT_TRUE(fs::is_symlink(path));
}

TEST_F(PropertyListFile, write_privateFile_staysPrivate)
{
    std::ofstream(path) << "old";
    fs::permissions(path, fs::perms(0600));
    ASSERT_TRUE(PropertyList().write(path));
    struct stat status = {};
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777u, 0600u);
}

TEST_F(PropertyListFile, write_anyCallFails_theOldFileStands)
{
    const PropertyList old = Dictionary{{"old", true}};
    const PropertyList next = Dictionary{{"next", true}};
    for (int failing = 0;; ++failing) {
        ASSERT_LT(failing, 100);
        FakeFileSystem files;
        const Override<FileSystem> override(files);
        files.addFile("/folder/a.plist", *old.toXml());
        files.failCall(failing, ErrorCode::NoSpace);
        const Result<void> written = next.write("/folder/a.plist");
        files.failCall(-1, ErrorCode::Io);
        ASSERT_EQ(PropertyList::read("/folder/a.plist").valueOr(PropertyList()), written ? next : old) << failing;
        if (written) {
            EXPECT_GT(failing, 0);
            break;
        }
        EXPECT_EQ(written.failure().code, ErrorCode::NoSpace);
    }
}
