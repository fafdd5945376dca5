#include "Tests/Classes/Shared/ExpansionFixture.h"

#include <sys/xattr.h>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using DVHFSUncompressorTest = ExpansionFixture;

TEST_F(DVHFSUncompressorTest, everyForm_expandsAlike)
{
    const std::vector<std::function<bool(DVHFSUncompressor &)>> forms = {
        [](auto &each) { return each.expand(); }, [](auto &each) { return each.expandReturningError(nullptr); },
        [&](auto &each) { return each.expandTo(m_file); },
        [&](auto &each) { return each.expandTo(m_file, std::nullopt, nullptr); },
        [&](auto &) { return DVHFSUncompressor::expandInPlacePath(m_file); }};
    for (const auto &form : forms) {
        CompressedSample::make(m_file, m_content);
        DVHFSUncompressor uncompressor(m_file);
        EXPECT_TRUE(form(uncompressor));
        EXPECT_EQ(contentOf(m_file), m_content);
    }
}

TEST_F(DVHFSUncompressorTest, sizes_areNeverWritten)
{
    CompressedSample::make(m_file, m_content);
    std::uint64_t compressed = 17, uncompressed = 18;
    EXPECT_TRUE(DVHFSUncompressor::expandInPlacePath(m_file, nullptr, &compressed, &uncompressed));
    EXPECT_EQ(compressed, 17u);
    EXPECT_EQ(uncompressed, 18u);
}

TEST_F(DVHFSUncompressorTest, afterCleanup_nothingIsExpanded)
{
    CompressedSample::make(m_file, m_content);
    DVHFSUncompressor uncompressor(m_file);
    uncompressor.cleanup();
    EXPECT_FALSE(uncompressor.expand());
    EXPECT_FALSE(uncompressor.expandTo(m_file));
    expectStillCompressed(CompressedSample::fork(m_content));
}

TEST_F(DVHFSUncompressorTest, ordinaryFile_is705AndNamesTheDestination)
{
    write(m_file, bytesOf("ordinary"));
    EXPECT_FALSE(expand());
    expectError(705, "Source file is not compressed at " + m_file.native());
    EXPECT_FALSE(expandTo(m_folder / "other"));
    expectError(705, "Source file is not compressed at " + (m_folder / "other").native());
    EXPECT_THAT(names(m_folder), ElementsAre("file"));
    EXPECT_EQ(contentOf(m_file), bytesOf("ordinary"));
}

TEST_F(DVHFSUncompressorTest, missingFileFolderAndLink_are705)
{
    CompressedSample::make(m_folder / "target", m_content);
    std::filesystem::create_symlink("target", m_folder / "link");
    for (const Path &path : {m_folder / "none", m_folder, m_folder / "link"}) {
        EXPECT_FALSE(expand(path)) << path;
        EXPECT_EQ(m_error.code, 705) << path;
    }
    EXPECT_TRUE(HFSCompression::isFileUFCompressed(m_folder / "target"));
}

TEST_F(DVHFSUncompressorTest, fileFromAMac_isExpanded)
{
    const Bytes header = CompressedSample::decmpfs(m_content.size());
    makeWithFork(CompressedSample::fork(m_content), m_content.size(),
                 {std::nullopt, {{kDecmpfsAttribute, header}}, {}});
    ASSERT_EQ(::removexattr(m_file.c_str(), "user.tamsel.st_flags"), 0);
    ASSERT_EQ(::removexattr(m_file.c_str(), "user.com.apple.decmpfs"), 0);
    EXPECT_TRUE(expand());
    EXPECT_EQ(contentOf(m_file), m_content);
    EXPECT_THAT(names(m_folder), ElementsAre("file"));
}

TEST_F(DVHFSUncompressorTest, blockOfNoBytes_writesNothing)
{
    makeWithFork(ForkParts::fork({ForkParts::deflated({}), ForkParts::deflated(bytesOf("x"))}), 1);
    EXPECT_TRUE(expand());
    EXPECT_EQ(contentOf(m_file), bytesOf("x"));
}

TEST_F(DVHFSUncompressorTest, blockLargerThanABlock_is700)
{
    const Bytes fork = ForkParts::fork({ForkParts::deflated(bytesOf("x")), Bytes(65537)});
    makeWithFork(fork, 65537);
    EXPECT_FALSE(expand());
    expectError(700, "Could not read source data");
    expectStillCompressed(fork, false);
    EXPECT_TRUE(m_outcome.isFlagLeftCleared);
}

TEST_F(DVHFSUncompressorTest, blockStoredWithoutCompression_is706)
{
    makeWithFork(ForkParts::fork({CompressedSample::text(5000)}), 5000);
    EXPECT_FALSE(expand());
    EXPECT_EQ(m_error.code, 706);
}

TEST_F(DVHFSUncompressorTest, blockOfMoreThanABlocksContent_is706)
{
    makeWithFork(ForkParts::fork({ForkParts::deflated(CompressedSample::text(65537))}), 65537);
    EXPECT_FALSE(expand());
    EXPECT_EQ(m_error.code, 706);
}

TEST_F(DVHFSUncompressorTest, anyFailure_withoutErrorPointer_isQuiet)
{
    makeWithFork(ForkParts::fork({Bytes(10)}), 5000);
    EXPECT_FALSE(DVHFSUncompressor::expandInPlacePath(m_file));
    EXPECT_FALSE(DVHFSUncompressor::expandInPlacePath(m_file)) << "705 now";
}

TEST_F(DVHFSUncompressorTest, forkCutAnywhere_losesNothing)
{
    const Bytes content = CompressedSample::text(600);
    const Bytes whole = CompressedSample::fork(content);
    for (std::size_t length = 1; length < whole.size(); ++length) {
        const Bytes fork(whole.begin(), whole.begin() + std::ptrdiff_t(length));
        makeWithFork(fork, content.size());
        const bool isExpanded = expand();
        if (isExpanded && contentOf(m_file) == content)
            continue; // only the map was cut
        ASSERT_EQ(contentOf(m_file), Bytes()) << length;
        const auto read = FileSystem::current().openResourceFork(m_file);
        ASSERT_TRUE(read) << length;
        Bytes bytes((*read)->size());
        ASSERT_EQ((*read)->readAt(0, bytes).valueOr(0), fork.size()) << length;
        ASSERT_EQ(bytes, fork) << length;
        ASSERT_THAT(scratchFiles(), IsEmpty());
    }
}

TEST_F(DVHFSUncompressorTest, hugeCounts_areRefusedAtOnce)
{
    for (const std::uint32_t count : {0xFFFFFFFFu, 0x20000000u, 0x1FFFFFFFu, 0x80000000u, 2u}) {
        Bytes fork = ForkParts::fork({Bytes(8)});
        ForkParts::putLittle(fork, 260, count);
        if (count == 2)
            fork.resize(264 + 15); // one byte short of two entries
        makeWithFork(fork, 5000);
        EXPECT_FALSE(expand()) << count;
        EXPECT_EQ(m_error.code, 0) << count;
        EXPECT_EQ(m_outcome.result, Outcome::ForkDamaged) << count;
        EXPECT_THAT(scratchFiles(), IsEmpty());
    }
}

TEST_F(DVHFSUncompressorTest, dataThatBeginsInTheHead_isReadFromThere)
{
    Bytes fork = ForkParts::fork({});
    fork.at(2) = 0;
    fork.at(3) = 8;                    // big-endian, 256 before
    ForkParts::putLittle(fork, 12, 0); // the number of blocks there
    makeWithFork(fork, 0);
    EXPECT_TRUE(expand());
    EXPECT_EQ(contentOf(m_file), Bytes());
    EXPECT_FALSE(HFSCompression::isFileUFCompressed(m_file));
}
