#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/PrivateMounts.h"
#include "Tests/Tools/tamselctl/Tamselctl.h"

#include <gmock/gmock.h>

using ::testing::HasSubstr;

namespace {

class VolumeVerb : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!m_mounts.mountMemory(m_folder))
            GTEST_SKIP() << "this machine gives a test no mounts of its own";
    }

    const std::filesystem::path m_folder = PrivateHome::current().makeFolder("memory");
    PrivateMounts m_mounts;
};

} // namespace

TEST_F(VolumeVerb, volumeInMemory_everyFact_isTold)
{
    const Ended ended = tamselctl({"volume", m_folder});
    EXPECT_EQ(ended.exitCode, 0) << ended.err;
    EXPECT_EQ(ended.out, "path: " + m_folder.native() +
                             "\nvolumeReferenceNumber: 1\nfileSystemType: tmpfs\nisHFS: no\nisHFSPlus: no\n"
                             "isRemovable: no\nisEjectable: no\nisInternal: yes\nisExternal: no\nisWritable: yes\n"
                             "capabilities: 0\nexchangedataSupported: no\n");
}

TEST_F(VolumeVerb, json_isOneObjectForEachPath)
{
    std::filesystem::create_directory(m_folder / "below");
    const Ended ended = tamselctl({"volume", m_folder, m_folder.parent_path(), m_folder / "below", "--json"});
    const std::vector<QVariantMap> volumes = jsonLines(ended.out);
    ASSERT_EQ(volumes.size(), 3u);
    const auto number = [&](std::size_t index) {
        return volumes[index][QStringLiteral("volumeReferenceNumber")].toInt();
    };
    EXPECT_EQ(number(0), 1);
    EXPECT_EQ(number(1), 2);
    EXPECT_EQ(number(2), 1);
}

TEST_F(VolumeVerb, missingPath_isAFailureAndTheOthersAreTold)
{
    const Ended ended = tamselctl({"volume", m_folder / "missing", m_folder});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_THAT(ended.err, HasSubstr("No such file or directory"));
    EXPECT_THAT(ended.out, HasSubstr("fileSystemType: tmpfs"));
}

TEST_F(VolumeVerb, noPath_isWrongUse)
{
    EXPECT_EQ(tamselctl({"volume"}).exitCode, 2);
}
