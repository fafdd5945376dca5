#include "Classes/Shared/CompressedFileRepair.h"

#include "Tests/Classes/Shared/ExpansionFixture.h"

/// Files that lost their flag, and what gives it back.
class CompressedFileRepairTest : public ExpansionFixture
{
protected:
    void makeWithoutFlag(std::size_t size = 5000)
    {
        CompressedSample::make(m_file, CompressedSample::text(size));
        ASSERT_TRUE(HFSCompression::setFileAsUFCompressed(m_file, false));
    }
    void expectRefused(ErrorCode code)
    {
        const Result<bool> repaired = CompressedFileRepair::repair(m_file);
        ASSERT_FALSE(repaired);
        EXPECT_EQ(repaired.failure().code, code) << repaired.failure().context;
        EXPECT_FALSE(HFSCompression::isFileUFCompressed(m_file));
    }
};

TEST_F(CompressedFileRepairTest, fileLeftWithoutItsFlag_isCompressedAgainAndExpands)
{
    makeWithoutFlag(150000);
    EXPECT_TRUE(CompressedFileRepair::isCandidate(m_file, *FileSystem::current().status(m_file)));
    EXPECT_TRUE(CompressedFileRepair::repair(m_file).valueOr(false));
    EXPECT_TRUE(HFSCompression::isFileUFCompressed(m_file));
    const Result<bool> again = CompressedFileRepair::repair(m_file);
    ASSERT_TRUE(again);
    EXPECT_FALSE(*again) << "nothing was to be done";
    EXPECT_TRUE(expand());
    EXPECT_EQ(contentOf(m_file), CompressedSample::text(150000));
}

TEST_F(CompressedFileRepairTest, fileAfterAFailedExpansion_isRefusedAsLongAsItIsDamaged)
{
    CompressedSample::make(m_file, m_content);
    const Bytes sound = contentOf(companionOf(m_file));
    Bytes damaged = sound;
    damaged[400] ^= 0xFF;
    write(companionOf(m_file), damaged);
    EXPECT_FALSE(expand());
    expectRefused(ErrorCode::Corrupt);
    write(companionOf(m_file), sound);
    EXPECT_TRUE(CompressedFileRepair::repair(m_file).valueOr(false));
}

TEST_F(CompressedFileRepairTest, ordinaryFiles_areRefused)
{
    write(m_file, bytesOf("content"));
    expectRefused(ErrorCode::Corrupt);
    EXPECT_FALSE(CompressedFileRepair::isCandidate(m_file, *FileSystem::current().status(m_file)));
    write(m_file, {});
    expectRefused(ErrorCode::Corrupt);
    EXPECT_FALSE(CompressedFileRepair::isCandidate(m_file, *FileSystem::current().status(m_file)));
}

TEST_F(CompressedFileRepairTest, fileWrittenSince_isRefused)
{
    makeWithoutFlag();
    write(m_file, bytesOf("content"));
    expectRefused(ErrorCode::Corrupt);
}

TEST_F(CompressedFileRepairTest, fileWithoutItsCompanion_isRefused)
{
    makeWithoutFlag();
    std::filesystem::remove(companionOf(m_file));
    expectRefused(ErrorCode::Corrupt);
}

TEST_F(CompressedFileRepairTest, fileThatIsBeingExpanded_isBusy)
{
    makeWithoutFlag();
    const auto lock = FileSystem::current().lockFile(m_file);
    ASSERT_TRUE(lock);
    expectRefused(ErrorCode::Busy);
}
