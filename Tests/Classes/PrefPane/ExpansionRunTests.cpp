#include "Tests/Classes/PrefPane/ExpansionRunFixture.h"

#include "Platform/Fake/FakeFileSystem.h"

namespace fs = std::filesystem;

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;

using LeftAlone = PXPathUncompressorObserver::LeftAlone;
using Outcome = ExpansionOutcome::Result;
using Phase = ExpansionProgress::Phase;

using ExpansionRunTest = ExpansionRunFixture;

TEST_F(ExpansionRunTest, everyFile_isToldWithItsReason)
{
    make("good", 100000);
    make("small", 4095);
    writeFile(folder / "ordinary", std::string(5000, 'x'));
    fs::create_symlink("good", folder / "link");
    make("damaged");
    writeFile(folder / "._damaged", "nothing of a companion");
    ExpansionProgress progress = performed().takeProgress();

    EXPECT_EQ(progress.phase, Phase::Ended);
    EXPECT_EQ(progress.filesDone, progress.filesInAll);
    EXPECT_EQ(progress.bytesDone, progress.bytesInAll);
    EXPECT_GE(progress.bytesInAll, 100000u);
    EXPECT_TRUE(progress.current.empty());
    std::map<std::string, ExpansionReason> reasons;
    for (const ExpansionEntry &entry : progress.fresh) {
        reasons.emplace(entry.path.filename(), entry.reason);
        if (entry.path.filename() == "good") {
            EXPECT_EQ(entry.after, 100000u);
            EXPECT_GT(entry.before, 0u);
            EXPECT_LT(entry.before, 100000u);
        }
    }
    EXPECT_EQ(reasons.at("good"), ExpansionReason(Outcome::Expanded));
    EXPECT_EQ(reasons.at("small"), ExpansionReason(LeftAlone::TooSmall));
    EXPECT_EQ(reasons.at("ordinary"), ExpansionReason(LeftAlone::NotCompressed));
    EXPECT_EQ(reasons.at("link"), ExpansionReason(LeftAlone::NotRegular));
    EXPECT_EQ(reasons.count("._good") + reasons.count("._small"), 0u) << "they are parts of other files";
    EXPECT_TRUE(reasons.contains("damaged"));
    EXPECT_THAT(run->takeProgress().fresh, IsEmpty()) << "they were told";
}

TEST_F(ExpansionRunTest, fileBesideNothing_isListedWhateverItsName)
{
    writeFile(folder / "._alone", "text");
    const ExpansionProgress progress = performed().takeProgress();
    EXPECT_THAT(progress.counts, ElementsAre(Pair(ExpansionReason(LeftAlone::TooSmall), 1u)));
}

TEST_F(ExpansionRunTest, manyOfOneReason_areCountedAndAllInTheJournal)
{
    const int many = int(ExpansionRun::kKept) + 7;
    for (int index = 0; index < many; ++index)
        writeFile(folder / ("file" + std::to_string(index)), "x");
    make("good");
    const ExpansionProgress progress = performed().takeProgress();
    EXPECT_EQ(progress.counts.at(LeftAlone::TooSmall), std::uint64_t(many));
    EXPECT_EQ(progress.fresh.size(), ExpansionRun::kKept + 1) << "and the one that was expanded";
    const std::string text = journal();
    EXPECT_EQ(std::ranges::count(text, '\n'), many + 1);
    EXPECT_THAT(text, HasSubstr("0 good\n"));
    EXPECT_THAT(text, HasSubstr("1 file1006\n"));
}

TEST_F(ExpansionRunTest, cancelledInAFile_leavesThatAndTheRest)
{
    for (const char *const name : {"a", "b", "c"})
        make(name, 500000);
    delegate.onWill = [&](const Path &) { run->cancel(); };
    const ExpansionProgress progress = performed().takeProgress();
    EXPECT_TRUE(progress.isCancelled);
    EXPECT_EQ(progress.counts.at(Outcome::Cancelled), 1u);
    for (const char *const name : {"a", "b", "c"}) {
        EXPECT_FALSE(isExpanded(name));
        EXPECT_EQ(*FileSystem::current().flags(folder / name), 32u) << "still a compressed file";
    }
}

TEST_F(ExpansionRunTest, cancelledBeforeItBegins_onlyEnds)
{
    make("a");
    made({folder}).cancel();
    run->perform(&delegate);
    EXPECT_FALSE(isExpanded("a"));
    EXPECT_EQ(run->takeProgress().phase, Phase::Ended);
}

TEST_F(ExpansionRunTest, fileThatIsOnlyNamedAsACompanion_isListed)
{
    make("compressed", 4095);
    writeFile(folder / "own", std::string(5000, 'x'));
    writeFile(folder / "._own", std::string(6000, 'y'));
    fs::create_symlink("own", folder / "._compressed too");
    writeFile(folder / "compressed too", {});
    std::map<std::string, ExpansionReason> reasons;
    for (const ExpansionEntry &entry : performed().takeProgress().fresh)
        reasons.emplace(entry.path.filename(), entry.reason);
    EXPECT_THAT(reasons, UnorderedElementsAre(
                             Pair("compressed", LeftAlone::TooSmall), Pair("own", LeftAlone::NotCompressed),
                             Pair("._own", LeftAlone::NotCompressed), Pair("compressed too", LeftAlone::TooSmall),
                             Pair("._compressed too", LeftAlone::NotRegular)));
}

TEST_F(ExpansionRunTest, whatCannotBeLookedAt_isListedAndTheRestIsDone)
{
    FakeFileSystem files;
    files.addFile("/top/closed/file");
    files.setUnreadable("/top/closed");
    files.addFile("/top/small");
    files.addFile("/locked/file");
    files.setUnreadable("/locked");
    const Override<FileSystem> override(files);
    made({"/gone", "/locked", "/top"}).perform(&delegate);
    std::map<std::string, ExpansionReason> reasons;
    for (const ExpansionEntry &entry : run->takeProgress().fresh) {
        reasons.emplace(entry.path, entry.reason);
        EXPECT_EQ(entry.detail.empty(), entry.path == "/top/small") << entry.path;
    }
    EXPECT_THAT(reasons, UnorderedElementsAre(Pair("/gone", Outcome::Unreadable), Pair("/locked", Outcome::Unreadable),
                                              Pair("/top/closed", Outcome::Unreadable),
                                              Pair("/top/small", LeftAlone::TooSmall)));
}
