#include "Classes/Shared/KZXattrMetadataStore.h"

#include "Classes/Shared/copyExtendedAttributes.h"
#include "Classes/Shared/map.h"
#include "Platform/Fake/FakeFileSystem.h"
#include "Tests/Support/PrivateHome.h"

#include <gmock/gmock.h>

#include <fstream>
#include <sys/xattr.h>

using Store = KZXattrMetadataStore;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

class KZXattrMetadataStoreTest : public ::testing::Test
{
protected:
    Path make(const std::string &name)
    {
        const Path path = m_folder / name;
        std::ofstream(path) << "content";
        return path;
    }

    Path m_folder = PrivateHome::current().makeFolder("attributes");
    Path m_file = make("file");
};

TEST_F(KZXattrMetadataStoreTest, keys_ofFileWithoutAttributesOrMissing_areNone)
{
    EXPECT_THAT(Store::allKeysAtPath(make("plain"), true), IsEmpty());
    EXPECT_THAT(Store::allKeysAtPath(m_folder / "none", true), IsEmpty());
    EXPECT_EQ(Store::dataForKey("any", m_folder / "none", false), std::nullopt);
    EXPECT_EQ(Store::stringForKey("any", m_file, false), std::nullopt);
    EXPECT_EQ(Store::objectForKey("any", m_file, false), std::nullopt);
}

TEST_F(KZXattrMetadataStoreTest, data_written_standsInTheFilesAttributes)
{
    const Path file = make("data");
    EXPECT_TRUE(Store::setData(bytesOf("value"), "com.dovrane.key", file, true));
    char value[10] = {};
    EXPECT_EQ(::getxattr(file.c_str(), "user.com.dovrane.key", value, sizeof value), 5);
    EXPECT_STREQ(value, "value");
    EXPECT_THAT(Store::allKeysAtPath(file, true), ElementsAre("com.dovrane.key"));
}

TEST_F(KZXattrMetadataStoreTest, data_failing_hasTheSystemsError)
{
    Error error;
    EXPECT_FALSE(Store::setData({}, "key", m_folder / "none", true, &error));
    EXPECT_EQ(error.domain, "com.dovrane.quillor.xattr");
    EXPECT_EQ(error.code, ENOENT);
    EXPECT_FALSE(Store::setData({}, "key", m_folder / "none", true));
}

TEST_F(KZXattrMetadataStoreTest, string_isKeptAsUtf8)
{
    const Path file = make("string");
    EXPECT_TRUE(Store::setString("gr\xc3\xb6\xc3\x9f"
                                 "e",
                                 "key", file, true));
    EXPECT_EQ(Store::stringForKey("key", file, true), "gr\xc3\xb6\xc3\x9f"
                                                      "e");
    EXPECT_EQ(stringOf(*Store::dataForKey("key", file, true)), "gr\xc3\xb6\xc3\x9f"
                                                               "e");
}

TEST_F(KZXattrMetadataStoreTest, string_notUtf8_isNoneWhenReadAndThrownWhenWritten)
{
    const Path file = make("bytes");
    ASSERT_TRUE(Store::setData(bytesOf("\xff\xfe"), "key", file, true));
    EXPECT_EQ(Store::stringForKey("key", file, true), std::nullopt);
    try {
        Store::setString("\xff", "other", file, true);
        FAIL() << "nothing was thrown";
    } catch (const NSCharacterConversionException &exception) {
        EXPECT_STREQ(exception.what(), "Couldn't convert string to UTF8 for xattr storage.");
    }
    EXPECT_THAT(Store::allKeysAtPath(file, true), ElementsAre("key"));
}

TEST_F(KZXattrMetadataStoreTest, object_isKeptAsXml)
{
    const Path file = make("object");
    PropertyList object;
    object.set("name", "value");
    object.set("number", 42);
    EXPECT_TRUE(Store::setObject(object, "key", file, true));
    EXPECT_TRUE(stringOf(*Store::dataForKey("key", file, true)).starts_with("<?xml version=\"1.0\""));
    EXPECT_EQ(Store::objectForKey("key", file, true), object);
}

TEST_F(KZXattrMetadataStoreTest, object_damaged_isThrown)
{
    const Path file = make("damaged");
    ASSERT_TRUE(Store::setData(bytesOf("no list"), "key", file, true));
    EXPECT_THROW(Store::objectForKey("key", file, true), KZXattrMetastoreCantUnserialize);
}

TEST_F(KZXattrMetadataStoreTest, object_thatXmlCannotHold_isThrownAndNothingWritten)
{
    const Path file = make("unserializable");
    EXPECT_THROW(Store::setObject(std::string("a\x01z"), "key", file, true), KZXattrMetastoreCantSerialize);
    EXPECT_THAT(Store::allKeysAtPath(file, true), IsEmpty());
}

TEST_F(KZXattrMetadataStoreTest, link_notTraversed_showsItsOwnAttributes)
{
    const Path file = make("target");
    ASSERT_TRUE(Store::setString("of the target", "key", file, true));
    const Path link = m_folder / "link";
    std::filesystem::create_symlink("target", link);
    EXPECT_THAT(Store::allKeysAtPath(link, false), IsEmpty());
    EXPECT_EQ(Store::stringForKey("key", link, false), std::nullopt);
    EXPECT_EQ(Store::stringForKey("key", link, true), "of the target");
    Error error;
    EXPECT_FALSE(Store::setString("of the link", "key", link, false, &error));
    EXPECT_EQ(error.code, EPERM);
}

TEST_F(KZXattrMetadataStoreTest, copy_skipsNamesInWhateverCase)
{
    const Path from = make("from");
    const Path to = make("to");
    for (const std::string key : {"com.apple.decmpfs", "One", "two"})
        ASSERT_TRUE(Store::setString(key, key, from, false));
    EXPECT_TRUE(copyExtendedAttributesFrom(from, to, {"COM.APPLE.DECMPFS", "one"}));
    EXPECT_THAT(Store::allKeysAtPath(to, false), ElementsAre("two"));
    EXPECT_TRUE(copyExtendedAttributesFrom(from, to));
    EXPECT_THAT(Store::allKeysAtPath(to, false), UnorderedElementsAre("com.apple.decmpfs", "One", "two"));
}

TEST_F(KZXattrMetadataStoreTest, copy_ofNothing_isComplete)
{
    EXPECT_TRUE(copyExtendedAttributesFrom(make("nothing"), m_folder / "none"));
    EXPECT_TRUE(copyExtendedAttributesFrom(m_folder / "none", m_folder / "none"));
}

TEST_F(KZXattrMetadataStoreTest, copy_fromOrToALink_neverTouchesItsTarget)
{
    const Path from = make("from");
    const Path to = make("to");
    ASSERT_TRUE(Store::setString("value", "key", from, false));
    std::filesystem::create_symlink("from", m_folder / "linkToFrom");
    std::filesystem::create_symlink("to", m_folder / "linkToTo");
    EXPECT_TRUE(copyExtendedAttributesFrom(m_folder / "linkToFrom", to)) << "the link has none of its own";
    EXPECT_THAT(Store::allKeysAtPath(to, false), IsEmpty());
    EXPECT_FALSE(copyExtendedAttributesFrom(from, m_folder / "linkToTo"));
    EXPECT_THAT(Store::allKeysAtPath(to, false), IsEmpty());
}

TEST_F(KZXattrMetadataStoreTest, copy_ofAFileWithADamagedCompanion_isNotComplete)
{
    const Path from = make("from");
    const Path to = make("to");
    ASSERT_TRUE(Store::setString("value", "key", from, false));
    std::ofstream(m_folder / "._from") << "this is no companion at all, but long enough";
    EXPECT_FALSE(copyExtendedAttributesFrom(from, to));
    EXPECT_FALSE(copyExtendedAttributesFrom(from, to, {"key"})) << "there may be others";
    Error error;
    EXPECT_FALSE(Store::setData(Bytes(30000), "large", from, false, &error));
    EXPECT_EQ(error.code, EIO) << "no code of the system, but not 0";
}

TEST_F(KZXattrMetadataStoreTest, copy_oneWriteFailing_goesOnAndSaysSo)
{
    for (int failing = 0;; ++failing) {
        FakeFileSystem files;
        const Override<FileSystem> installed(files);
        files.addFile("/from");
        files.addFile("/to");
        for (const std::string key : {"a", "b", "c"})
            ASSERT_TRUE(Store::setString(key, key, "/from", false));
        files.failCall(failing, ErrorCode::NoSpace);
        const bool isComplete = copyExtendedAttributesFrom("/from", "/to");
        const int calls = files.calls();
        files.failCall(-1, ErrorCode::Io);
        const std::size_t copied = Store::allKeysAtPath("/to", false).size();
        EXPECT_EQ(Store::allKeysAtPath("/from", false).size(), 3u);
        if (failing >= calls) {
            EXPECT_TRUE(isComplete);
            EXPECT_EQ(copied, 3u);
            EXPECT_EQ(failing, 7) << "one listing, three readings, three writings";
            break;
        }
        // A source that cannot be listed looks like one without attributes.
        EXPECT_EQ(isComplete, failing == 0) << failing;
        EXPECT_EQ(copied, failing == 0 ? 0u : 2u) << failing;
    }
}

TEST(map, results_keepTheirOrderAndNilItsPlace)
{
    const auto half = [](int number) { return number % 2 == 0 ? std::optional(number / 2) : std::nullopt; };
    EXPECT_THAT(map(std::vector<int>{2, 3, 4}, half), ElementsAre(1, std::nullopt, 2));
    EXPECT_THAT(map(std::vector<int>{2, 3, 4}, half, false), ElementsAre(1, std::nullopt, 2));
    EXPECT_THAT(map(std::vector<int>{2, 3, 4}, half, true), ElementsAre(1, 2));
    EXPECT_THAT(map(std::vector<int>(), half), IsEmpty());
    const auto doubled = [](int number) { return number * 2; };
    EXPECT_THAT(map(std::vector<int>{0, 1}, doubled, true), ElementsAre(0, 2));
    const auto pointer = [](const std::string &text) { return text.empty() ? nullptr : text.c_str(); };
    EXPECT_EQ(map(std::vector<std::string>{"", "a"}, pointer, true).size(), 1u);
}
