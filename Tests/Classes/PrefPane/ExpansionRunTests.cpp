#include "Classes/PrefPane/ExpansionRun.h"

#include "Classes/PrefPane/PXPathUncompressor.h"
#include "Classes/Shared/Log.h"
#include "Platform/Fake/FakeProcesses.h"
#include "Platform/Fake/FakeUserFolders.h"
#include "Platform/Fake/FakeVolumes.h"
#include "Tests/Support/CompressedSample.h"
#include "Tests/Support/FileContent.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/PrivateMounts.h"

#include <gmock/gmock.h>

#include <sys/mount.h>
#include <unistd.h>

namespace fs = std::filesystem;

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;

using LeftAlone = PXPathUncompressorObserver::LeftAlone;
using Outcome = ExpansionOutcome::Result;
using Phase = ExpansionProgress::Phase;

namespace {

/// Passes on what a run is told, as the drop zone does, and may do something of its own in between.
class Delegate final : public PXPathUncompressorDelegate
{
public:
    void uncompressorWillExpandFile(PXPathUncompressor &, const Path &path) override
    {
        run->willExpandFile(path);
        if (onWill)
            onWill(path);
    }
    void uncompressorDidExpandFile(PXPathUncompressor &, const Path &path) override { run->didExpandFile(path); }

    ExpansionRun *run = nullptr;
    std::function<void(const Path &)> onWill;
};

class ExpansionRunTest : public ::testing::Test
{
protected:
    ExpansionRunTest()
    {
        setLogSink([](const std::string &) {});
        processes.groups = {::getegid()};
    }
    ~ExpansionRunTest() override
    {
        setLogSink(nullptr);
        fs::remove_all(folder);
    }

    void make(const std::string &name, std::size_t size = 5000)
    {
        fs::create_directories((folder / name).parent_path());
        CompressedSample::make(folder / name, CompressedSample::text(size));
    }
    bool isExpanded(const std::string &name) const { return fs::file_size(folder / name) > 0; }

    ExpansionRun &made(std::vector<Path> paths)
    {
        run = std::make_unique<ExpansionRun>(std::move(paths), [](const ExpansionEntry &entry) {
            return std::to_string(entry.reason.index()) + ' ' + entry.path.filename().native();
        });
        delegate.run = run.get();
        return *run;
    }
    ExpansionRun &performed()
    {
        made({folder}).perform(&delegate);
        return *run;
    }
    std::string journal() const
    {
        std::string text;
        const auto take = [&](std::string_view piece) {
            text += piece;
            return true;
        };
        EXPECT_TRUE(run->journal().read(take));
        return text;
    }

    Path folder = PrivateHome::current().makeFolder("dropped");
    FakeProcesses processes;
    Override<Processes> processesInPlace{processes};
    Delegate delegate;
    std::unique_ptr<ExpansionRun> run;
};

} // namespace

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

TEST_F(ExpansionRunTest, fileThatVanishes_isNoReasonToStop)
{
    make("a");
    make("b");
    delegate.onWill = [&](const Path &path) {
        if (!fs::exists(folder / "gone")) {
            writeFile(folder / "gone", {});
            fs::remove(path);
        }
    };
    const ExpansionProgress progress = performed().takeProgress();
    EXPECT_EQ(progress.counts.at(Outcome::Expanded), 1u);
}

TEST_F(ExpansionRunTest, fileThatIsWrittenMeanwhile_keepsWhatWasWritten)
{
    make("file");
    delegate.onWill = [](const Path &path) { writeFile(path, "new"); };
    const ExpansionProgress progress = performed().takeProgress();
    EXPECT_EQ(progress.counts.count(Outcome::Expanded), 0u);
    EXPECT_EQ(contentOf(folder / "file"), "new");
}

TEST_F(ExpansionRunTest, fileReplacedByALink_isNotFollowed)
{
    make("file");
    const Path outside = PrivateHome::current().makeFolder("outside");
    CompressedSample::make(outside / "file", CompressedSample::text(5000));
    delegate.onWill = [&](const Path &path) {
        fs::remove(path);
        fs::create_symlink(outside / "file", path);
    };
    const ExpansionProgress progress = performed().takeProgress();
    EXPECT_EQ(progress.counts.count(Outcome::Expanded), 0u);
    EXPECT_EQ(fs::file_size(outside / "file"), 0u);
    EXPECT_TRUE(fs::is_symlink(folder / "file"));
    fs::remove_all(outside);
}

TEST_F(ExpansionRunTest, volumeThatIsFull_leavesTheFileAsItIs)
{
    PrivateMounts mounts;
    fs::create_directory(folder / "volume");
    if (!mounts.mountMemory(folder / "volume"))
        GTEST_SKIP() << "this machine gives a test no mounts of its own";
    make("volume/large", 20 << 20);
    make("volume/small", 100000);
    EXPECT_EQ(made({folder}).shortages().size(), 0u) << "it has not been measured yet";
    run->setAsk([this] { run->goOn(true); });
    run->perform(&delegate);
    ASSERT_EQ(run->shortages().size(), 1u);
    EXPECT_EQ(run->shortages()[0].volume, folder / "volume");
    EXPECT_GT(run->shortages()[0].needed, ByteCount{20} << 20);
    EXPECT_LT(run->shortages()[0].available, ByteCount{16} << 20);
    const ExpansionProgress progress = run->takeProgress();
    EXPECT_EQ(progress.counts.at(Outcome::NoSpace), 1u);
    EXPECT_EQ(progress.counts.at(Outcome::Expanded), 1u);
    EXPECT_FALSE(isExpanded("volume/large"));
    EXPECT_TRUE(FileSystem::current().openResourceFork(folder / "volume/large"));
    EXPECT_TRUE(isExpanded("volume/small"));
}

TEST_F(ExpansionRunTest, volumeThatGoes_endsOnlyItsFiles)
{
    PrivateMounts mounts;
    fs::create_directory(folder / "volume");
    if (!mounts.mountMemory(folder / "volume"))
        GTEST_SKIP() << "this machine gives a test no mounts of its own";
    make("volume/file");
    make("file");
    delegate.onWill = [&](const Path &path) {
        if (path.parent_path().filename() == "volume") {
            EXPECT_EQ(::umount2((folder / "volume").c_str(), MNT_DETACH), 0);
        }
    };
    const ExpansionProgress progress = performed().takeProgress();
    EXPECT_EQ(progress.phase, Phase::Ended);
    EXPECT_EQ(progress.counts.at(Outcome::Expanded), 1u);
    EXPECT_TRUE(isExpanded("file"));
}

TEST_F(ExpansionRunTest, folderReplacedByALink_isNotFollowed)
{
    make("inner/file");
    const Path outside = PrivateHome::current().makeFolder("outside");
    CompressedSample::make(outside / "file", CompressedSample::text(5000));
    delegate.onWill = [&](const Path &) {
        fs::rename(folder / "inner", folder / "moved");
        fs::create_directory_symlink(outside, folder / "inner");
    };
    const ExpansionProgress progress = performed().takeProgress();
    EXPECT_EQ(fs::file_size(outside / "file"), 0u);
    EXPECT_EQ(progress.counts.at(Outcome::Changed), 1u);
    EXPECT_EQ(fs::file_size(folder / "moved/file"), 0u);
    fs::remove_all(outside);
}

TEST_F(ExpansionRunTest, temporaryFolderMissing_runsAllTheSameAndSaysThatTheListIsNotWhole)
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

TEST_F(ExpansionRunTest, journal_leavesNothingBehind)
{
    const Path temporary = *UserFolders::current().temporary();
    const auto names = [&] { return *FileSystem::current().entries(temporary); };
    const std::vector<std::string> before = names();
    performed();
    EXPECT_EQ(names().size(), before.size() + 1);
    run.reset();
    EXPECT_EQ(names(), before);
}

TEST_F(ExpansionRunTest, survey_reckonsTheWorstMoment)
{
    make("a", 409600);
    make("b", 819200);
    make("inner/c", 4095);
    writeFile(folder / "ordinary", std::string(5000, 'x'));
    FakeVolumes volumes;
    volumes.volumes = {{"/"}};
    volumes.volumes[0].availableSpace = 0;
    const Override<Volumes> override(volumes);
    ExpansionSurvey survey({});
    survey.add(folder);
    EXPECT_EQ(survey.files(), 2u);
    EXPECT_EQ(survey.bytes(), 409600u + 819200u);

    const auto occupied = [&](const char *name) { return *FileSystem::current().occupiedSize(folder / name); };
    const ByteCount aFirst = 409600 - occupied("a") + 819200;
    const ByteCount bFirst = 819200 - occupied("b") + 409600;
    ASSERT_EQ(survey.shortages().size(), 1u);
    EXPECT_THAT(survey.shortages()[0].needed, ::testing::AnyOf(aFirst, bFirst)) << "in whichever order they come";
    EXPECT_EQ(survey.shortages()[0].volume, "/");
    volumes.volumes[0].availableSpace = survey.shortages()[0].needed;
    EXPECT_THAT(survey.shortages(), IsEmpty()) << "exactly enough";
    volumes.failures.failCall(0, ErrorCode::Io);
    EXPECT_THAT(survey.shortages(), IsEmpty()) << "it cannot be told";
}
