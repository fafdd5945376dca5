#include "Classes/Shared/CompressedFileWriter.h"

#include "Classes/Shared/CompressedFileInspection.h"
#include "Platform/Fake/FakeFileSystem.h"
#include "Tests/Support/CompressedSample.h"
#include "Tests/Support/PrivateHome.h"

#include <gmock/gmock.h>

#include <fstream>
#include <random>
#include <sys/stat.h>

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class CompressedFileWriterTest : public ::testing::Test
{
protected:
    Path make(const std::string &name, ByteView content)
    {
        const Path path = m_from / name;
        std::ofstream(path, std::ios::binary) << stringOf(content);
        return path;
    }
    Bytes noise(std::size_t size) const
    {
        std::mt19937 random(1);
        Bytes bytes(size);
        for (std::uint8_t &byte : bytes)
            byte = std::uint8_t(random());
        return bytes;
    }
    std::vector<std::string> written() const { return FileSystem::current().entries(m_to).valueOr({"unreadable"}); }
    void expectRefused(const Path &file, ErrorCode code, const std::string &reason)
    {
        const auto copy = m_writer.write(file);
        ASSERT_FALSE(copy) << file;
        EXPECT_EQ(copy.failure().code, code) << copy.failure().context;
        EXPECT_THAT(copy.failure().context, HasSubstr(reason));
        EXPECT_THAT(written(), IsEmpty());
    }

    Path m_from = PrivateHome::current().makeFolder("from");
    Path m_to = PrivateHome::current().makeFolder("to");
    CompressedFileWriter m_writer{m_to};
};

TEST_F(CompressedFileWriterTest, text_becomesACompressedFileThatIsSound)
{
    for (const std::size_t size : {30000u, 65536u, 65537u, 1000000u}) {
        const Path file = make("text" + std::to_string(size), CompressedSample::text(size));
        const auto copy = m_writer.write(file);
        ASSERT_TRUE(copy) << copy.failure().context;
        EXPECT_EQ(copy->path, m_to / file.filename());
        EXPECT_EQ(copy->logicalSize, size);
        EXPECT_EQ(copy->occupiedSize, *FileSystem::current().occupiedSize(copy->path));
        EXPECT_EQ(std::filesystem::file_size(copy->path), 0u);
        const auto found = CompressedFileInspection::inspect(copy->path);
        ASSERT_TRUE(found);
        EXPECT_TRUE(found->isSound()) << found->trouble;
        EXPECT_EQ(std::uint64_t(found->header->uncompressedSize), size);
        EXPECT_EQ(std::uint32_t(found->fork->blockHead.numBlocks), (size + 65535) / 65536);
        EXPECT_EQ(std::filesystem::file_size(file), size) << "the original";
    }
}

TEST_F(CompressedFileWriterTest, fork_hasThePublishedLayout)
{
    const auto copy = m_writer.write(make("text", CompressedSample::text(100000)));
    ASSERT_TRUE(copy);
    const auto fork = FileSystem::current().openResourceFork(copy->path);
    ASSERT_TRUE(fork);
    const auto heads = readCompressedFork(**fork);
    ASSERT_TRUE(heads);
    EXPECT_EQ(heads->head.dataOffset, 256u);
    EXPECT_EQ(heads->head.mapOffset, 256 + heads->head.dataLength);
    EXPECT_EQ(heads->blockHead.dataSize, heads->head.dataLength - 4);
    EXPECT_EQ(heads->head.mapOffset + 50, (*fork)->size());
    Bytes map(50);
    ASSERT_TRUE((*fork)->readAt(heads->head.mapOffset, map));
    EXPECT_EQ(stringOf(ByteView(map).subspan(30, 4)), "cmpf");
}

TEST_F(CompressedFileWriterTest, copy_hasModeTimeAndAttributesOfTheFile)
{
    const Path file = make("text", CompressedSample::text(100000));
    ::chmod(file.c_str(), 0750);
    FileSystem &files = FileSystem::current();
    ASSERT_TRUE(files.setAttribute(file, "com.dovrane.note", bytesOf("kept"), Links::NotFollow));
    std::filesystem::last_write_time(file, std::filesystem::last_write_time(file) - std::chrono::hours(1000));
    const auto copy = m_writer.write(file);
    ASSERT_TRUE(copy);
    EXPECT_EQ(files.status(copy->path)->mode, 0750u);
    EXPECT_EQ(files.status(m_to / "._text")->mode, 0640u);
    EXPECT_EQ(files.status(copy->path)->modified, files.status(file)->modified);
    EXPECT_EQ(stringOf(*files.attribute(copy->path, "com.dovrane.note", Links::NotFollow)), "kept");
}

TEST_F(CompressedFileWriterTest, copyOfAnothersFile_belongsToHim)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "Only root gives files away.";
    const Path file = make("text", CompressedSample::text(100000));
    ASSERT_EQ(::chown(file.c_str(), 4001, 4002), 0);
    const auto copy = m_writer.write(file);
    ASSERT_TRUE(copy);
    for (const Path &made : {copy->path, m_to / "._text"}) {
        EXPECT_EQ(FileSystem::current().status(made)->owner, 4001u) << made;
        EXPECT_EQ(FileSystem::current().status(made)->group, 4002u) << made;
    }
}

TEST_F(CompressedFileWriterTest, whatIsNoPlainFile_isRefused)
{
    const Path file = make("text", CompressedSample::text(100000));
    std::filesystem::create_symlink("text", m_from / "link");
    ASSERT_EQ(::mkfifo((m_from / "pipe").c_str(), 0600), 0);
    expectRefused(m_from / "link", ErrorCode::NotSupported, "link");
    expectRefused(m_from / "pipe", ErrorCode::NotSupported, "regular");
    expectRefused(m_from, ErrorCode::NotSupported, "regular");
    expectRefused(m_from / "none", ErrorCode::NotFound, "none");
}

TEST_F(CompressedFileWriterTest, fileWithForkOrCompressedOrEmpty_isRefused)
{
    const Path forked = make("forked", CompressedSample::text(100000));
    std::ofstream(m_from / "._forked", std::ios::binary) << stringOf(CompressedSample::companion(bytesOf("fork")));
    expectRefused(forked, ErrorCode::NotSupported, "resource fork");
    CompressedSample::make(m_from / "compressed", CompressedSample::text(100000));
    expectRefused(m_from / "compressed", ErrorCode::NotSupported, "compressed already");
    expectRefused(make("empty", {}), ErrorCode::NotSupported, "empty");
}

TEST_F(CompressedFileWriterTest, fileThatItsVolumeCompresses_isWrittenAsAnyOther)
{
    FakeFileSystem files;
    const Override<FileSystem> installed(files);
    files.addFile("/from/file", CompressedSample::text(100000));
    files.setOnCompressingVolume("/from/file");
    files.addFolder("/to");
    const auto copy = CompressedFileWriter("/to").write("/from/file");
    ASSERT_TRUE(copy) << copy.failure().context;
    EXPECT_EQ(copy->logicalSize, 100000u);
}

TEST_F(CompressedFileWriterTest, nameWithoutRoomForTheCompanion_isRefused)
{
    expectRefused(make(std::string(254, 'n'), CompressedSample::text(100000)), ErrorCode::TooLarge, "253");
    EXPECT_TRUE(m_writer.write(make(std::string(253, 'n'), CompressedSample::text(100000))));
}

TEST_F(CompressedFileWriterTest, whatWouldOccupyNoLess_isRefused)
{
    expectRefused(make("small", CompressedSample::text(200)), ErrorCode::NotSupported, "occupy no less");
    expectRefused(make("page", CompressedSample::text(4096)), ErrorCode::NotSupported, "occupy no less");
    expectRefused(make("noise", noise(1000)), ErrorCode::NotSupported, "occupy no less");
}

TEST_F(CompressedFileWriterTest, fullBlockOfNoise_isRefused)
{
    Bytes content = CompressedSample::text(3 * 65536);
    const Bytes random = noise(65536);
    std::copy(random.begin(), random.end(), content.begin() + 65536);
    expectRefused(make("mixed", content), ErrorCode::NotSupported, "does not become smaller");
}

TEST_F(CompressedFileWriterTest, shortLastBlockOfNoise_isStoredInAValidStream)
{
    Bytes content = CompressedSample::text(4 * 65536);
    const Bytes random = noise(1000);
    content.insert(content.end(), random.begin(), random.end());
    const auto copy = m_writer.write(make("tail", content));
    ASSERT_TRUE(copy) << copy.failure().context;
    EXPECT_TRUE(CompressedFileInspection::inspect(copy->path)->isSound());
}

TEST_F(CompressedFileWriterTest, takenPlaces_areNeverWrittenOver)
{
    const Path file = make("text", CompressedSample::text(100000));
    for (const std::string taken : {"text", "._text"}) {
        std::ofstream(m_to / taken) << "precious";
        const auto copy = m_writer.write(file);
        ASSERT_FALSE(copy);
        EXPECT_EQ(copy.failure().code, ErrorCode::Exists);
        EXPECT_THAT(written(), ElementsAre(taken));
        EXPECT_EQ(stringOf(*FileSystem::current().readFile(m_to / taken, 100)), "precious");
        std::filesystem::remove(m_to / taken);
    }
}

TEST_F(CompressedFileWriterTest, ownFolder_isTaken)
{
    const Path file = make("text", CompressedSample::text(100000));
    EXPECT_EQ(CompressedFileWriter(m_from).write(file).failure().code, ErrorCode::Exists);
    EXPECT_EQ(std::filesystem::file_size(file), 100000u);
}

TEST_F(CompressedFileWriterTest, anyCallFailing_leavesTheFileAndNothingElse)
{
    const Bytes content = CompressedSample::text(200000);
    for (int failing = 0;; ++failing) {
        FakeFileSystem files;
        const Override<FileSystem> installed(files);
        files.addFile("/from/file", content);
        files.addFolder("/to");
        files.failCall(failing, ErrorCode::NoSpace);
        const auto copy = CompressedFileWriter("/to").write("/from/file");
        const int calls = files.calls();
        files.failCall(-1, ErrorCode::Io);
        ASSERT_EQ(*files.readFile("/from/file", 1 << 20), content) << failing;
        if (copy) {
            EXPECT_GE(failing, calls);
            break;
        }
        EXPECT_THAT(*files.entries("/to"), IsEmpty()) << "left when call " << failing << " failed";
    }
}
