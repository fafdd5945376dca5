#include "Tests/Classes/PrefPane/ExpansionRunFixture.h"

#include "Platform/Fake/FakeUserFolders.h"
#include "Tests/Support/FileSizeLimit.h"
#include "Tests/Support/Noise.h"

using ::testing::StartsWith;

using ExpansionJournalTest = ExpansionRunFixture;

static constexpr int kLines = 5000;

TEST_F(ExpansionJournalTest, temporaryFolderMissing_runsAllTheSameAndSaysThatTheListIsNotWhole)
{
    FakeUserFolders folders(folder);
    make("a");
    std::optional<ExpansionRun> listless;
    {
        folders.failures.failCall(0, ErrorCode::NoSpace);
        const Override<UserFolders> override(folders);
        listless.emplace(std::vector<Path>{folder}, [](const ExpansionEntry &) { return std::string(); });
    }
    delegate.run = &*listless;
    listless->perform(&delegate);
    EXPECT_TRUE(isExpanded("a"));
    EXPECT_FALSE(listless->journal().read([](std::string_view) { return true; }));
}

TEST_F(ExpansionJournalTest, list_hasNoFileThatCouldBeLeftBehind)
{
    const Path temporary = *UserFolders::current().temporary();
    const std::vector<std::string> before = *FileSystem::current().entries(temporary);
    make("a");
    made({folder});
    EXPECT_EQ(*FileSystem::current().entries(temporary), before);
    run->perform(&delegate);
    for (int time = 1; time <= 2; ++time)
        EXPECT_EQ(journal(), "0 a\n") << "read for the " << time << ". time";
}

TEST_F(ExpansionJournalTest, volumeThatFillsUp_keepsTheLinesBeforeAndSaysSo)
{
    ExpansionJournal journal;
    const std::string first = noise();
    {
        const FileSizeLimit limit(32768);
        journal.append(first);
        for (int line = 1; line < kLines; ++line)
            journal.append(noise());
        journal.close();
    }
    std::string text;
    const Result<void> read = journal.read([&](std::string_view piece) {
        text += piece;
        return true;
    });
    EXPECT_FALSE(read);
    EXPECT_THAT(text, StartsWith(first + "\n"));
    EXPECT_LT(std::ranges::count(text, '\n'), kLines);
}
