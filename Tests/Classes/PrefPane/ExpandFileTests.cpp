#include "Platform/Fake/FakeFileSystem.h"
#include "Platform/Fake/FakeProcesses.h"
#include "Platform/Fake/FakeThisProcess.h"
#include "Platform/Formats/CompressedFile.h"
#include "Tests/Classes/PrefPane/ExpansionListener.h"
#include "Tests/Support/CompressedSample.h"

#include <gmock/gmock.h>

using ::testing::IsEmpty;

using LeftAlone = PXPathUncompressorObserver::LeftAlone;

/// The tests of one file, over a made-up world.
class ExpandFileTest : public ::testing::Test
{
protected:
    ExpandFileTest()
    {
        m_files.addFile("/file");
        m_files.setResourceFork("/file", CompressedSample::fork(CompressedSample::text(5000)));
        EXPECT_TRUE(
            m_files.setAttribute("/file", kDecmpfsAttribute, CompressedSample::decmpfs(5000), Links::NotFollow));
        EXPECT_TRUE(m_files.setFlags("/file", kCompressedFlag));
        m_files.setOwner("/file", 501);
        m_files.setGroup("/file", 20);
        m_process.user = 501;
        m_processes.groups = {4, 20};
        m_uncompressor.setObserver(&m_listener);
    }
    std::optional<LeftAlone> reason()
    {
        EXPECT_EQ(m_uncompressor.expandFile("/file"), 0u);
        EXPECT_THAT(m_listener.outcomes, IsEmpty());
        return m_listener.leftAlone.empty() ? std::nullopt : std::optional(m_listener.leftAlone.at("file"));
    }

    FakeFileSystem m_files;
    FakeProcesses m_processes;
    FakeThisProcess m_process;
    Override<FileSystem> m_filesInPlace{m_files};
    Override<Processes> m_processesInPlace{m_processes};
    Override<ThisProcess> m_processInPlace{m_process};
    ExpansionListener m_listener;
    PXPathUncompressor m_uncompressor{"/file"};
};

TEST_F(ExpandFileTest, fileThatPassesEveryTest_isTried)
{
    EXPECT_EQ(m_uncompressor.expandFile("/file"), 1u);
    EXPECT_EQ(m_listener.outcomes.size(), 1u);
}

TEST_F(ExpandFileTest, missingFile_isLeftAlone)
{
    EXPECT_TRUE(m_files.removeFile("/file"));
    EXPECT_EQ(reason(), std::nullopt);
}

TEST_F(ExpandFileTest, clearedFlag_isLeftAlone)
{
    EXPECT_TRUE(m_files.setFlags("/file", 0));
    EXPECT_EQ(reason(), LeftAlone::FlagCleared);
    EXPECT_TRUE(m_files.removeAttribute("/file", kDecmpfsAttribute, Links::NotFollow));
    EXPECT_EQ(reason(), LeftAlone::TooSmall) << "without the header it is an empty file";
}

TEST_F(ExpandFileTest, fileWithContentThatItsVolumeCompresses_isLeftAlone)
{
    m_files.addFile("/file", CompressedSample::text(5000));
    m_files.setOnCompressingVolume("/file");
    m_files.setOwner("/file", 501);
    m_files.setGroup("/file", 20);
    EXPECT_EQ(reason(), LeftAlone::NotCompressed);
}

TEST_F(ExpandFileTest, anothersFile_isLeftAlone)
{
    m_process.user = 502;
    EXPECT_EQ(reason(), LeftAlone::AnothersFile);
}

TEST_F(ExpandFileTest, fileThatIsNotWritable_isLeftAlone)
{
    m_files.setMode("/file", 0444);
    EXPECT_EQ(reason(), LeftAlone::NotWritable);
}

TEST_F(ExpandFileTest, anothersGroup_isLeftAlone)
{
    m_processes.groups = {4};
    EXPECT_EQ(reason(), LeftAlone::AnothersGroup);
    m_processes.groups.clear();
    EXPECT_EQ(reason(), LeftAlone::AnothersGroup);
}

TEST_F(ExpandFileTest, largeFileWithoutItsFork_isDamagedAndNotSmall)
{
    FakeFileSystem moved; // without what lay beside it
    moved.addFile("/file");
    EXPECT_TRUE(moved.setAttribute("/file", kDecmpfsAttribute, CompressedSample::decmpfs(5000), Links::NotFollow));
    EXPECT_TRUE(moved.setFlags("/file", kCompressedFlag));
    const Override<FileSystem> override(moved);
    EXPECT_EQ(reason(), LeftAlone::Damaged);
    EXPECT_TRUE(moved.setAttribute("/file", kDecmpfsAttribute, CompressedSample::decmpfs(4095), Links::NotFollow));
    EXPECT_EQ(reason(), LeftAlone::TooSmall);
    EXPECT_TRUE(moved.setAttribute("/file", kDecmpfsAttribute, bytesOf("no header"), Links::NotFollow));
    EXPECT_EQ(reason(), LeftAlone::Unreadable);
}
