#include "Platform/Formats/CompressedFile.h"
#include "Tests/Platform/Linux/LinuxOutputFileFixture.h"

using ::testing::ElementsAre;
using ::testing::UnorderedElementsAre;

// What becomes of the companion of a replaced file.

using LinuxForkDiscardTest = LinuxOutputFileTest;

TEST_F(LinuxForkDiscardTest, forkInCompanion_ofTwoNames_isShared)
{
    write(m_file, {});
    makeCompanion("a fork");
    std::filesystem::create_hard_link(m_file, m_folder / "other");
    EXPECT_TRUE(m_files.isForkShared(m_file).valueOr(false));
    EXPECT_TRUE(m_files.isForkShared(m_folder / "other").valueOr(false));
}

TEST_F(LinuxForkDiscardTest, forkInAttribute_ofTwoNames_isNotShared)
{
    write(m_file, {});
    ASSERT_TRUE(m_files.setAttribute(m_file, kResourceForkAttribute, bytesOf("a fork"), Links::NotFollow));
    std::filesystem::create_hard_link(m_file, m_folder / "other");
    EXPECT_FALSE(m_files.isForkShared(m_file).valueOr(true));
    EXPECT_FALSE(m_files.isForkShared(m_folder / "other").valueOr(true));
}

TEST_F(LinuxForkDiscardTest, discardedFork_takesTheCompanionWithItWhenNothingElseIsInIt)
{
    write(m_file, bytesOf("expanded"));
    makeCompanion("a fork", {{{}}, {{"com.apple.DECMPFS", bytesOf("header")}}, {}});
    const auto fork = *m_files.openResourceFork(m_file);
    ASSERT_TRUE(m_files.discardFork(m_file, *fork, {kDecmpfsAttribute}));
    EXPECT_THAT(names(), ElementsAre("file"));
}

TEST_F(LinuxForkDiscardTest, discardedFork_leavesWhatElseTheCompanionHolds)
{
    write(m_file, bytesOf("expanded"));
    AppleDoubleContent content{{{}}, {{kDecmpfsAttribute, bytesOf("header")}, {"kept", bytesOf("value")}}, {}};
    content.finderInformation->at(3) = 7;
    makeCompanion("a fork", content);
    const auto fork = *m_files.openResourceFork(m_file);
    ASSERT_TRUE(m_files.discardFork(m_file, *fork, {kDecmpfsAttribute}));
    EXPECT_EQ(m_files.openResourceFork(m_file).failure().code, ErrorCode::NotFound);
    EXPECT_THAT(*m_files.attributeNames(m_file, Links::NotFollow), ElementsAre("kept"));
    EXPECT_EQ(stringOf(*m_files.attribute(m_file, "kept", Links::NotFollow)), "value");
    EXPECT_GT(std::filesystem::file_size(m_companion), 0u);
}

TEST_F(LinuxForkDiscardTest, discardedFork_ofACompanionReplacedMeanwhile_isBusyAndStays)
{
    write(m_file, bytesOf("expanded"));
    makeCompanion("a fork");
    const auto fork = *m_files.openResourceFork(m_file);
    std::filesystem::rename(m_companion, m_folder / "old");
    makeCompanion("another fork");
    EXPECT_EQ(m_files.discardFork(m_file, *fork, {kDecmpfsAttribute}).failure().code, ErrorCode::Busy);
    EXPECT_EQ((*m_files.openResourceFork(m_file))->size(), std::string("another fork").size());
}

TEST_F(LinuxForkDiscardTest, discardedFork_ofACompanionWrittenMeanwhile_isBusyAndStays)
{
    write(m_file, bytesOf("expanded"));
    makeCompanion("a fork");
    const auto fork = *m_files.openResourceFork(m_file);
    makeCompanion("a longer fork");
    EXPECT_EQ(m_files.discardFork(m_file, *fork, {kDecmpfsAttribute}).failure().code, ErrorCode::Busy);
    EXPECT_TRUE(std::filesystem::exists(m_companion));
}

TEST_F(LinuxForkDiscardTest, discardedFork_readFromAnAttribute_leavesTheCompanionsOthers)
{
    write(m_file, bytesOf("expanded"));
    makeCompanion("", {{}, {{kDecmpfsAttribute, bytesOf("header")}, {"kept", bytesOf("value")}}, {}});
    ASSERT_TRUE(m_files.setAttribute(m_file, kResourceForkAttribute, bytesOf("a fork"), Links::NotFollow));
    const auto fork = *m_files.openResourceFork(m_file);
    ASSERT_TRUE(m_files.discardFork(m_file, *fork, {kDecmpfsAttribute}));
    EXPECT_THAT(*m_files.attributeNames(m_file, Links::NotFollow),
                UnorderedElementsAre("kept", kResourceForkAttribute));
}

TEST_F(LinuxForkDiscardTest, discardedFork_withoutCompanion_isDone)
{
    write(m_file, bytesOf("expanded"));
    makeCompanion("a fork");
    const auto fork = *m_files.openResourceFork(m_file);
    std::filesystem::remove(m_companion);
    EXPECT_TRUE(m_files.discardFork(m_file, *fork, {kDecmpfsAttribute}));
}
