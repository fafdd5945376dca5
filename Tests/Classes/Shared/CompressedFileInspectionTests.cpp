#include "Classes/Shared/CompressedFileInspection.h"

#include "Platform/Fake/FakeFileSystem.h"
#include "Tests/Support/CompressedSample.h"
#include "Tests/Support/PrivateHome.h"

#include <gmock/gmock.h>

using ::testing::HasSubstr;

/// A compressed file of three blocks whose parts the tests damage.
class CompressedFileInspectionTest : public ::testing::Test
{
protected:
    static constexpr std::size_t kSize = 150000;
    static constexpr std::size_t kTable = 264; ///< of the fork

    CompressedFileInspectionTest()
    {
        m_files.addFile("/file");
        set(CompressedSample::decmpfs(kSize));
        EXPECT_TRUE(m_files.setFlags("/file", kCompressedFlag));
    }
    void set(ByteView header)
    {
        EXPECT_TRUE(m_files.setAttribute("/file", kDecmpfsAttribute, header, Links::NotFollow));
    }
    CompressedFileInspection inspect(const CompressedFileInspection::EachBlock &eachBlock = {})
    {
        m_files.setResourceFork("/file", m_fork);
        const auto found = CompressedFileInspection::inspect("/file", eachBlock);
        EXPECT_TRUE(found);
        return found ? *found : CompressedFileInspection();
    }
    void put(std::size_t offset, std::uint32_t number)
    {
        for (int index = 0; index < 4; ++index)
            m_fork[offset + std::size_t(index)] = std::uint8_t(number >> (8 * index));
    }

    FakeFileSystem m_files;
    Override<FileSystem> m_installed{m_files};
    Bytes m_fork = CompressedSample::fork(CompressedSample::text(kSize));
};

TEST_F(CompressedFileInspectionTest, soundFile_tellsEverything)
{
    std::vector<std::uint32_t> sizes;
    const auto found = inspect([&](std::uint32_t index, const HFSPlusCmpfRsrcBlock &block) {
        EXPECT_EQ(index, sizes.size());
        sizes.push_back(block.blockSize);
    });
    EXPECT_TRUE(found.isSound()) << found.trouble;
    EXPECT_TRUE(found.isCompressed());
    EXPECT_EQ(std::uint64_t(found.header->uncompressedSize), kSize);
    EXPECT_EQ(std::uint32_t(found.fork->blockHead.numBlocks), 3u);
    EXPECT_EQ(found.forkSize, m_fork.size());
    EXPECT_EQ(found.logicalSize, kSize);
    EXPECT_GE(found.occupiedSize, m_fork.size());
    EXPECT_EQ(sizes.size(), 3u);
}

TEST_F(CompressedFileInspectionTest, ordinaryFile_isToldApart)
{
    ASSERT_TRUE(m_files.setFlags("/file", 0));
    const auto found = inspect();
    EXPECT_FALSE(found.isCompressed());
    EXPECT_THAT(found.trouble, HasSubstr("not stored compressed"));
}

TEST_F(CompressedFileInspectionTest, fileThatItsVolumeCompresses_isToldApart)
{
    m_files.addFile("/plain", CompressedSample::text(1000));
    m_files.setOnCompressingVolume("/plain");
    const auto found = CompressedFileInspection::inspect("/plain");
    ASSERT_TRUE(found);
    EXPECT_TRUE(found->isCompressed());
    EXPECT_TRUE(found->isCompressedByVolume());
    EXPECT_THAT(found->trouble, HasSubstr("the volume"));
    EXPECT_EQ(found->logicalSize, 1000u);
    EXPECT_FALSE(inspect().isCompressedByVolume()) << "one with a fork";
}

TEST_F(CompressedFileInspectionTest, header_damagedOrOfAnotherType_isTrouble)
{
    set(CompressedSample::decmpfs(kSize, 3));
    EXPECT_THAT(inspect().trouble, HasSubstr("type is 3"));
    set(bytesOf("cmpf"));
    EXPECT_THAT(inspect().trouble, HasSubstr("header"));
}

TEST_F(CompressedFileInspectionTest, header_cutAnywhere_isTrouble)
{
    const Bytes whole = CompressedSample::decmpfs(kSize);
    ASSERT_EQ(whole.size(), 16u);
    for (std::size_t length = 0; length < whole.size(); ++length) {
        set(ByteView(whole).first(length));
        const CompressedFileInspection found = inspect();
        EXPECT_FALSE(found.isSound()) << length;
        EXPECT_NE(found.trouble, "") << length;
    }
    set(whole);
    EXPECT_TRUE(inspect().isSound());
}

TEST_F(CompressedFileInspectionTest, sizeOtherThanTheBlocks_isTrouble)
{
    set(CompressedSample::decmpfs(kSize + 1));
    EXPECT_THAT(inspect().trouble, HasSubstr("block 2"));
    set(CompressedSample::decmpfs(65536 * 4));
    EXPECT_FALSE(inspect().isSound());
}

TEST_F(CompressedFileInspectionTest, blocks_damaged_areTrouble)
{
    const Bytes sound = m_fork;
    const struct
    {
        const char *what;
        std::size_t offset;
        std::uint32_t number;
    } rows[] = {
        {"offset inside the table", kTable, 4},
        {"offset that wraps", kTable, 0xFFFFFFFF},
        {"offset past the end", kTable, 0x00FFFFFF},
        {"no bytes", kTable + 4, 0},
        {"more than 64 KiB", kTable + 4, 65537},
        {"a byte too few", kTable + 4, 100},
        {"more blocks than fit", 260, 0xFFFFFFFF},
        {"one block too few", 260, 2},
        {"bytes that are no zlib stream", kTable + 24, 0},
    };
    for (const auto &row : rows) {
        m_fork = sound;
        put(row.offset, row.number);
        EXPECT_FALSE(inspect().isSound()) << row.what;
    }
}

TEST_F(CompressedFileInspectionTest, fork_cutAnywhereBeforeItsMap_isTrouble)
{
    const Bytes sound = m_fork;
    for (std::size_t length = 1; length < sound.size() - 50; length += 97) {
        m_fork.assign(sound.begin(), sound.begin() + std::ptrdiff_t(length));
        EXPECT_FALSE(inspect().isSound()) << length;
    }
}

TEST_F(CompressedFileInspectionTest, whatIsNoFile_isRefused)
{
    EXPECT_EQ(CompressedFileInspection::inspect("/none").failure().code, ErrorCode::NotFound);
    EXPECT_EQ(CompressedFileInspection::inspect("/").failure().code, ErrorCode::NotSupported);
}
