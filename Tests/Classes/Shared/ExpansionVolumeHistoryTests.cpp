#include "Tests/Classes/Shared/ExpansionOnVolume.h"

#include "Classes/Shared/TemporaryFiles.h"

#include <unistd.h>

using ::testing::ElementsAre;

// What may have become of a file since it was compressed.

TEST_P(ExpansionOnVolume, editedFile_isNeverReplacedByItsStaleFork)
{
    make();
    write(m_file, bytesOf("edited"));
    EXPECT_FALSE(expand());
    EXPECT_EQ(m_error.code, 705);
    EXPECT_FALSE(expand(true));
    EXPECT_EQ(m_outcome.result, Outcome::HasContent);
    EXPECT_EQ(contentOf(m_file), bytesOf("edited"));
    EXPECT_TRUE(expandTo(m_folder / "rescued", true)) << "but it can be had from it";
    EXPECT_EQ(contentOf(m_folder / "rescued"), m_content);
    EXPECT_EQ(contentOf(m_file), bytesOf("edited"));
    expectNoScratchFile();
}

TEST_P(ExpansionOnVolume, movedFile_losesOnlyWhatStaysBehind)
{
    make();
    const Path moved = m_folder / "moved";
    std::filesystem::rename(m_file, moved);
    if (!isFork(ForkPlace::Companion)) {
        EXPECT_TRUE(expand(moved)) << m_outcome.reason;
        EXPECT_EQ(contentOf(moved), m_content);
        return;
    }
    EXPECT_FALSE(expand(moved));
    EXPECT_EQ(m_error.code, 0);
    EXPECT_EQ(m_outcome.result, Outcome::NoFork);
    EXPECT_TRUE(m_outcome.isFlagLeftCleared);
    EXPECT_TRUE(HFSCompression::hasCompressedAttributes(moved));
    EXPECT_EQ(FileSystem::current().lockFile(moved).failure().code, ErrorCode::Busy) << "the lock stays";
    LeftLocks::release();
    std::filesystem::rename(companionOf(m_file), companionOf(moved));
    EXPECT_TRUE(expand(moved, true)) << "with its companion it is whole again";
    EXPECT_EQ(contentOf(moved), m_content);
    EXPECT_THAT(names(m_folder), ElementsAre("moved"));
}

TEST_P(ExpansionOnVolume, forkOfAnotherFile_isNotGivenUp)
{
    const Bytes other(100000, 'o');
    makeForked(CompressedSample::fork(other), m_content.size());
    if (isFork(ForkPlace::Companion)) {
        EXPECT_TRUE(expand());
        EXPECT_EQ(contentOf(m_file), other);
        EXPECT_EQ(m_outcome.reasonForkKept, "its header says 150000 bytes, 100000 were in its blocks");
        EXPECT_EQ(contentOf(companionOf(m_file)), CompressedSample::companion(CompressedSample::fork(other)));
    } else { // it would go with the file
        EXPECT_FALSE(expand());
        EXPECT_EQ(m_outcome.result, Outcome::SizeDiffers);
        EXPECT_EQ(m_outcome.reasonForkKept, "");
        ExpansionFixture::expectStillCompressed(CompressedSample::fork(other));
    }
    expectNoScratchFile();
}

TEST_P(ExpansionOnVolume, fileEmptiedAfterItsExpansion_staysEmpty)
{
    make();
    ASSERT_TRUE(expand()) << m_outcome.reason;
    write(m_file, {});
    write(companionOf(m_file), CompressedSample::companion(CompressedSample::fork(m_content)));
    EXPECT_FALSE(expand());
    EXPECT_EQ(m_error.code, 705);
    EXPECT_EQ(contentOf(m_file), Bytes());
}

TEST_P(ExpansionOnVolume, twoNames_loseNothingWhicheverIsGiven)
{
    make();
    const Path other = m_folder / "other";
    std::filesystem::create_hard_link(m_file, other);
    if (isFork(ForkPlace::Companion)) {
        for (const Path &path : {m_file, other}) {
            EXPECT_FALSE(expand(path)) << path;
            EXPECT_EQ(m_outcome.result, Outcome::ForkShared) << path;
            EXPECT_FALSE(m_outcome.isFlagLeftCleared);
        }
        expectStillCompressed();
        EXPECT_TRUE(std::filesystem::equivalent(m_file, other));
        return;
    }
    EXPECT_TRUE(expand(other)) << m_outcome.reason;
    EXPECT_EQ(contentOf(other), m_content);
    expectStillCompressed();
    EXPECT_TRUE(expand()) << m_outcome.reason;
    EXPECT_EQ(contentOf(m_file), m_content);
}

TEST_P(ExpansionOnVolume, scratchFileOfAKilledExpansion_isTakenAway)
{
    std::vector<uid_t> owners = {::geteuid()};
    if (::geteuid() == 0)
        owners.push_back(4321); // killed when it had the owner of the file already
    for (const uid_t owner : owners) {
        std::filesystem::remove(m_file);
        make();
        const Path scratch = getTemporaryFileNameBasedOnExistingPath(m_file);
        EXPECT_EQ(scratch.parent_path() == m_folder, !isHome()) << "else it could not be renamed";
        write(scratch, bytesOf("half of something"));
        ASSERT_EQ(::lchown(scratch.c_str(), owner, ::getegid()), 0);
        EXPECT_TRUE(expand()) << m_outcome.reason;
        EXPECT_EQ(contentOf(m_file), m_content);
        EXPECT_THAT(names(m_folder), ElementsAre("file"));
        expectNoScratchFile();
    }
}

TEST_P(ExpansionOnVolume, fileWrittenMeanwhile_keepsWhatWasWritten)
{
    make();
    MomentBeforeRename moment([&] { write(m_file, bytesOf("written meanwhile")); });
    const Override<FileLeases> override(moment);
    EXPECT_FALSE(expand());
    EXPECT_EQ(m_outcome.result, Outcome::Changed);
    EXPECT_EQ(contentOf(m_file), bytesOf("written meanwhile"));
    expectNoScratchFile();
}

TEST_P(ExpansionOnVolume, forkThatAppearsBefore_isTakenFirst)
{
    make();
    const Bytes nearer(70000, 'n');
    write(companionOf(m_file), CompressedSample::companion(CompressedSample::fork(nearer)));
    ASSERT_TRUE(FileSystem::current().setAttribute(m_file, kDecmpfsAttribute, CompressedSample::decmpfs(nearer.size()),
                                                   Links::NotFollow));
    const bool isOwnFirst = isFork(ForkPlace::NamedFork); // then the companion, then the attribute
    EXPECT_EQ(expand(), !isOwnFirst) << m_outcome.reason;
    EXPECT_EQ(contentOf(m_file), isOwnFirst ? Bytes() : nearer);
}
