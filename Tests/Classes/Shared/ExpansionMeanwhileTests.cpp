#include "Platform/Linux/NewFile.h"
#include "Tests/Classes/Shared/ExpansionFixture.h"
#include "Tests/Support/FileHolder.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

using ExpansionMeanwhileTest = ExpansionFixture;

TEST_F(ExpansionMeanwhileTest, lockOfAnother_isNoHindrance)
{
    CompressedSample::make(m_file, m_content);
    const auto lock = FileSystem::current().lockFile(m_file);
    ASSERT_TRUE(lock);
    EXPECT_TRUE(expand());
    EXPECT_EQ(contentOf(m_file), m_content);
}

TEST_F(ExpansionMeanwhileTest, manyFilesWithoutCompanions_doNotUseUpTheDescriptors)
{
    rlimit limit = {};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
    limit.rlim_cur = 512;
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
    for (int number = 0; number < 1000; ++number) {
        const Path path = m_folder / std::to_string(number);
        CompressedSample::make(path, bytesOf("x"));
        std::filesystem::remove(companionOf(path));
        ASSERT_FALSE(expand(path));
        ASSERT_EQ(m_outcome.result, Outcome::NoFork) << number;
    }
    const int descriptor = ::open("/dev/null", O_RDONLY);
    EXPECT_GE(descriptor, 0);
    ::close(descriptor);
}

TEST_F(ExpansionMeanwhileTest, companionReplacedMeanwhile_isKept)
{
    CompressedSample::make(m_file, m_content);
    const Bytes another = CompressedSample::companion(bytesOf("another fork"));
    MomentBeforeRename moment([&] {
        std::filesystem::remove(companionOf(m_file));
        write(companionOf(m_file), another);
    });
    const Override<FileLeases> override(moment);
    EXPECT_TRUE(expand());
    EXPECT_EQ(contentOf(m_file), m_content);
    EXPECT_EQ(contentOf(companionOf(m_file)), another);
    EXPECT_NE(m_outcome.reasonForkKept, "");
}

TEST_F(ExpansionMeanwhileTest, fileReplacedMeanwhile_keepsTheNewOne)
{
    CompressedSample::make(m_file, m_content);
    MomentBeforeRename moment([&] {
        write(m_folder / "new", {});
        std::filesystem::rename(m_folder / "new", m_file);
    });
    const Override<FileLeases> override(moment);
    const FileStatus before = *FileSystem::current().status(m_file);
    EXPECT_FALSE(expand());
    EXPECT_EQ(contentOf(m_file), Bytes());
    EXPECT_NE(FileSystem::current().status(m_file)->identity, before.identity);
    EXPECT_FALSE(HFSCompression::isFileUFCompressed(m_file)) << "the flag is not the new one's";
    EXPECT_TRUE(std::filesystem::exists(companionOf(m_file)));
}

TEST_F(ExpansionMeanwhileTest, brokenLease_keepsTheFileAsItIs)
{
    CompressedSample::make(m_file, m_content);
    MomentBeforeRename moment([] {}, true);
    const Override<FileLeases> override(moment);
    EXPECT_FALSE(expand());
    EXPECT_EQ(m_outcome.result, Outcome::BeingWritten);
    expectStillCompressed(CompressedSample::fork(m_content));
}

TEST_F(ExpansionMeanwhileTest, whatAKilledExpansionLeft_isTakenAwayByTheNextThoughNothingIsToBeExpanded)
{
    CompressedSample::make(m_file, m_content);
    std::string scratch;
    MomentBeforeRename moment([&] { scratch = scratchFiles().at(0); });
    {
        const Override<FileLeases> override(moment);
        ASSERT_TRUE(expand());
    }
    FileHolder killed([&] {
        static const auto s_output = FileSystem::current().openScratchFile(temporaryFolder() / scratch, 0600);
        static const Result<NewFile> s_companion = NewFile::beside(companionOf(m_file), 0600);
        return s_output && s_companion;
    });
    ASSERT_TRUE(killed.isHolding());
    EXPECT_FALSE(expand());
    EXPECT_THAT(scratchFiles(), SizeIs(1)) << "its maker lives";
    EXPECT_THAT(names(m_folder), SizeIs(2));
    killed.release();
    EXPECT_FALSE(expand());
    EXPECT_EQ(m_error.code, 705);
    EXPECT_THAT(scratchFiles(), IsEmpty());
    EXPECT_THAT(names(m_folder), ElementsAre("file"));
    EXPECT_EQ(contentOf(m_file), m_content);
}

TEST_F(ExpansionMeanwhileTest, linkPlantedAsScratchFile_isNotFollowed)
{
    CompressedSample::make(m_file, m_content);
    const Path precious = m_folder / "precious";
    write(precious, bytesOf("precious"));
    std::string scratch;
    {
        MomentBeforeRename moment([&] { scratch = scratchFiles().at(0); }, true);
        const Override<FileLeases> override(moment);
        ASSERT_FALSE(expand());
    }
    const Path planted = temporaryFolder() / scratch;
    std::filesystem::create_symlink(precious, planted);
    EXPECT_FALSE(expand());
    EXPECT_EQ(m_outcome.result, Outcome::OutputRefused);
    EXPECT_EQ(contentOf(precious), bytesOf("precious"));
    EXPECT_TRUE(std::filesystem::is_symlink(planted));
}

TEST_F(ExpansionMeanwhileTest, twoProcessesOnOnePath_endWithOneWholeFile)
{
    for (int round = 0; round < 20; ++round) {
        std::filesystem::remove(m_file);
        CompressedSample::make(m_file, m_content);
        pid_t children[2];
        for (pid_t &child : children) {
            child = ::fork();
            if (child == 0) {
                expand();
                ::_exit(0);
            }
        }
        for (const pid_t child : children)
            ASSERT_EQ(::waitpid(child, nullptr, 0), child);
        // Both can have been refused by the other's lock, and then the flag may be left cleared.
        if (contentOf(m_file) != m_content) {
            ASSERT_TRUE(expand(true)) << "round " << round;
        }
        ASSERT_EQ(contentOf(m_file), m_content) << "round " << round;
        ASSERT_THAT(scratchFiles(), IsEmpty());
    }
}
