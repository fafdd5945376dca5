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
