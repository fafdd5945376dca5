#include "Classes/Shared/HFSCompression.h"

#include "Classes/Shared/Log.h"
#include "Platform/Fake/FakeFileSystem.h"
#include "Platform/Formats/CompressedFile.h"
#include "Tests/Support/CompressedSample.h"
#include "Tests/Support/PrivateHome.h"

#include <gmock/gmock.h>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

static std::vector<std::string> s_lines;

class HFSCompressionTest : public ::testing::Test
{
protected:
    HFSCompressionTest()
    {
        s_lines.clear();
        setLogSink([](const std::string &line) { s_lines.push_back(line); });
    }
    ~HFSCompressionTest() override { setLogSink(nullptr); }

    Path m_folder = PrivateHome::current().makeFolder("compression");
    Path m_file = m_folder / "file";
};

TEST_F(HFSCompressionTest, flag_ofCompressedFile_isSet)
{
    CompressedSample::make(m_file, CompressedSample::text(70000));
    EXPECT_TRUE(HFSCompression::isFileUFCompressed(m_file));
    std::filesystem::create_symlink("file", m_folder / "link");
    EXPECT_FALSE(HFSCompression::isFileUFCompressed(m_folder / "link"));
}

TEST_F(HFSCompressionTest, flag_ofMissingPath_isClearAndCannotBeSetWithoutALine)
{
    EXPECT_FALSE(HFSCompression::isFileUFCompressed(m_folder / "none"));
    EXPECT_FALSE(HFSCompression::setFileAsUFCompressed(m_folder / "none", true));
    EXPECT_FALSE(HFSCompression::setFileAsUFCompressed(m_folder / "none", false));
    EXPECT_THAT(s_lines, IsEmpty());
}

TEST_F(HFSCompressionTest, flag_clearedAndSet_leavesHeaderAndFork)
{
    CompressedSample::make(m_file, CompressedSample::text(70000));
    EXPECT_TRUE(HFSCompression::setFileAsUFCompressed(m_file, false));
    EXPECT_FALSE(HFSCompression::isFileUFCompressed(m_file));
    EXPECT_TRUE(HFSCompression::hasCompressedAttributes(m_file));
    EXPECT_TRUE(HFSCompression::setFileAsUFCompressed(m_file, true));
    EXPECT_TRUE(HFSCompression::isFileUFCompressed(m_file));
    EXPECT_EQ(FileSystem::current().logicalSize(m_file).valueOr(0), 70000u);
}

TEST_F(HFSCompressionTest, attributes_throughLink_areThoseOfTheTarget)
{
    CompressedSample::make(m_file, CompressedSample::text(10));
    std::filesystem::create_symlink("file", m_folder / "another-link");
    EXPECT_TRUE(HFSCompression::hasCompressedAttributes(m_folder / "another-link"));
    EXPECT_FALSE(HFSCompression::hasCompressedAttributes(m_folder));
    EXPECT_FALSE(HFSCompression::hasCompressedAttributes(m_folder / "none"));
}

TEST_F(HFSCompressionTest, setFlag_toWhatItIs_changesNothing)
{
    FakeFileSystem files;
    const Override<FileSystem> installed(files);
    files.addFile("/file");
    ASSERT_TRUE(files.setFlags("/file", 0x8000 | kCompressedFlag));
    files.failCall(-1, ErrorCode::Io);
    EXPECT_TRUE(HFSCompression::setFileAsUFCompressed("/file", true));
    EXPECT_EQ(files.calls(), 2) << "the flags are read twice and never written";
    EXPECT_TRUE(HFSCompression::setFileAsUFCompressed("/file", false));
    EXPECT_EQ(*files.flags("/file"), 0x8000u) << "the other flags stay";
}

TEST_F(HFSCompressionTest, setFlag_failing_isLogged)
{
    FakeFileSystem files;
    const Override<FileSystem> installed(files);
    files.addFile("/file");
    files.addLink("/link", "file");
    EXPECT_FALSE(HFSCompression::setFileAsUFCompressed("/link", true));
    EXPECT_THAT(s_lines, ElementsAre("Could not set UF_COMPRESSED flag for file /link: 1 [Operation not permitted]"));
}

TEST_F(HFSCompressionTest, clearFlag_failing_isSilent)
{
    FakeFileSystem files;
    const Override<FileSystem> installed(files);
    files.addFile("/file");
    ASSERT_TRUE(files.setFlags("/file", kCompressedFlag));
    files.failCall(1, ErrorCode::Permission);
    EXPECT_FALSE(HFSCompression::setFileAsUFCompressed("/file", false));
    EXPECT_THAT(s_lines, IsEmpty());
    EXPECT_TRUE(HFSCompression::isFileUFCompressed("/file"));
}

TEST_F(HFSCompressionTest, clearFlag_ofAFileThatItsVolumeCompresses_isRefused)
{
    FakeFileSystem files;
    const Override<FileSystem> installed(files);
    files.addFile("/file", CompressedSample::text(1000));
    files.setOnCompressingVolume("/file");
    EXPECT_TRUE(HFSCompression::isFileUFCompressed("/file"));
    EXPECT_FALSE(HFSCompression::setFileAsUFCompressed("/file", false));
    EXPECT_TRUE(HFSCompression::setFileAsUFCompressed("/file", true));
}

TEST_F(HFSCompressionTest, setFlag_onFileWithContent_doesNotTake)
{
    FakeFileSystem files;
    const Override<FileSystem> installed(files);
    files.addFile("/file", bytesOf("content"));
    EXPECT_FALSE(HFSCompression::setFileAsUFCompressed("/file", true));
}
