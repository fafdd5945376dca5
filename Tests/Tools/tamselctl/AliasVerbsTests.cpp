#include "Tests/Support/PrivateHome.h"
#include "Tests/Tools/tamselctl/Tamselctl.h"

#include <fstream>

#include <gmock/gmock.h>

using ::testing::HasSubstr;
using ::testing::IsEmpty;
namespace fs = std::filesystem;

class AliasVerbs : public ::testing::Test
{
protected:
    void SetUp() override { fs::create_directory(m_target); }

    void makeRecord() { ASSERT_EQ(tamselctl({"alias", "make", m_target}, m_record).exitCode, 0); }

    const fs::path m_folder = PrivateHome::current().makeFolder("aliases");
    const fs::path m_target = m_folder / "target";
    const fs::path m_record = m_folder / "record";
};

TEST_F(AliasVerbs, renamedFolder_isFound)
{
    makeRecord();
    EXPECT_EQ(tamselctl({"alias", "resolve", m_record}).out, m_target.native() + "\n");
    fs::rename(m_target, m_folder / "renamed");
    const Ended ended = tamselctl({"alias", "resolve", m_record, "--json"});
    EXPECT_EQ(ended.exitCode, 0);
    EXPECT_EQ(ended.out, "{\"path\":\"" + (m_folder / "renamed").native() + "\"}\n");
}

TEST_F(AliasVerbs, anotherFolderOfThatName_isNotTakenForIt)
{
    makeRecord();
    fs::remove(m_target);
    fs::create_directory(m_target);
    const Ended ended = tamselctl({"alias", "resolve", m_record});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_THAT(ended.out, IsEmpty());
    EXPECT_THAT(ended.err, HasSubstr("the target is not there: " + m_target.native()));
}

TEST_F(AliasVerbs, info_describesTheTargetWithoutIt)
{
    makeRecord();
    fs::remove(m_target);
    const Ended ended = tamselctl({"alias", "info", m_record, "--json"});
    EXPECT_EQ(ended.exitCode, 0);
    const auto objects = jsonLines(ended.out);
    ASSERT_EQ(objects.size(), 1u);
    EXPECT_EQ(objects[0][QStringLiteral("targetNameString")], QStringLiteral("target"));
    EXPECT_EQ(objects[0][QStringLiteral("pathString")].toString().toStdString(), m_target.native());
    for (const char *key :
         {"volumeNameString", "fileType", "fileCreator", "parentDirID", "nodeID", "filesystemID", "signature",
          "volumeIsBootVolume", "volumeIsAutomounted", "volumeIsEjectable", "volumeHasPersistentFileIDs"})
        EXPECT_TRUE(objects[0].contains(QString::fromLatin1(key))) << key;
    EXPECT_EQ(objects[0].size(), 13);
}

TEST_F(AliasVerbs, relativePath_isKeptAsAnAbsoluteOne)
{
    fs::current_path(m_folder);
    ASSERT_EQ(tamselctl({"alias", "make", "target"}, m_record).exitCode, 0);
    fs::current_path("/");
    EXPECT_EQ(tamselctl({"alias", "resolve", m_record}).out, m_target.native() + "\n");
}

TEST_F(AliasVerbs, nameThatIsNoUtf8_survives)
{
    const fs::path odd = m_folder / "a\xff";
    fs::create_directory(odd);
    ASSERT_EQ(tamselctl({"alias", "make", odd}, m_record).exitCode, 0);
    EXPECT_EQ(tamselctl({"alias", "resolve", m_record}).out, odd.native() + "\n");
    EXPECT_EQ(tamselctl({"alias", "resolve", m_record, "--json"}).out,
              "{\"path\":\"" + m_folder.native() + "/a\\udcff\"}\n");
}

TEST_F(AliasVerbs, missingTarget_isAFailure)
{
    const Ended ended = tamselctl({"alias", "make", m_folder / "missing"});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_THAT(ended.out, IsEmpty());
    EXPECT_THAT(ended.err, HasSubstr("missing"));
}

TEST_F(AliasVerbs, json_isNoWayToMakeARecord)
{
    EXPECT_EQ(tamselctl({"alias", "make", m_target, "--json"}).exitCode, 2);
}

TEST_F(AliasVerbs, fileWithoutARecord_isAFailure)
{
    std::ofstream(m_folder / "text") << "not an alias record at all";
    std::ofstream(m_folder / "empty");
    for (const char *verb : {"info", "resolve"}) {
        for (const char *file : {"text", "empty"}) {
            const Ended ended = tamselctl({"alias", verb, m_folder / file});
            EXPECT_EQ(ended.exitCode, 1) << verb << " " << file;
            EXPECT_THAT(ended.err, HasSubstr("no alias record")) << verb << " " << file;
        }
        EXPECT_EQ(tamselctl({"alias", verb, m_folder / "missing"}).exitCode, 1) << verb;
        EXPECT_EQ(tamselctl({"alias", verb, m_folder}).exitCode, 1) << verb;
    }
}
