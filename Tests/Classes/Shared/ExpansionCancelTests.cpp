#include "Tests/Classes/Shared/ExpansionFixture.h"

using ExpansionCancelTest = ExpansionFixture;

TEST_F(ExpansionCancelTest, cancelled_setsTheFlagAgainAndLeavesNoScratchFile)
{
    CompressedSample::make(m_file, m_content);
    m_stop.request_stop();
    EXPECT_FALSE(expand());
    EXPECT_EQ(m_error.code, 0);
    EXPECT_EQ(m_outcome.result, Outcome::Cancelled);
    EXPECT_FALSE(m_outcome.isFlagLeftCleared);
    expectStillCompressed(CompressedSample::fork(m_content));
}

TEST_F(ExpansionCancelTest, cancelledRightBeforeTheRename_leavesTheFileAsItIs)
{
    CompressedSample::make(m_file, m_content);
    MomentBeforeRename moment([this] { m_stop.request_stop(); });
    const Override<FileLeases> override(moment);
    EXPECT_FALSE(expand());
    EXPECT_EQ(m_outcome.result, Outcome::Cancelled);
    EXPECT_FALSE(m_outcome.isFlagLeftCleared);
    expectStillCompressed(CompressedSample::fork(m_content));
}

TEST_F(ExpansionCancelTest, cancelledWhereTheFlagWasIgnored_leavesItClear)
{
    CompressedSample::make(m_file, m_content);
    ASSERT_TRUE(HFSCompression::setFileAsUFCompressed(m_file, false));
    m_stop.request_stop();
    EXPECT_FALSE(expand(true));
    EXPECT_EQ(m_outcome.result, Outcome::Cancelled);
    expectStillCompressed(CompressedSample::fork(m_content), false);
}
