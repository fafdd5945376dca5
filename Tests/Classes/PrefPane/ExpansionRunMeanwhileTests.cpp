#include "Tests/Classes/PrefPane/ExpansionRunFixture.h"
#include "Tests/Support/PrivateMounts.h"

#include <sys/mount.h>

// What a run makes of a tree that others change while it goes through it.

namespace fs = std::filesystem;

using Outcome = ExpansionOutcome::Result;
using Phase = ExpansionProgress::Phase;

using ExpansionRunTest = ExpansionRunFixture;

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

TEST_F(ExpansionRunTest, volumeThatIsFull_leavesTheFileAsItIs)
{
    PrivateMounts mounts;
    fs::create_directory(folder / "volume");
    if (!mounts.mountMemory(folder / "volume"))
        GTEST_SKIP() << "this machine gives a test no mounts of its own";
    make("volume/large", 20 << 20);
    make("volume/small", 100000);
    make("beside", 100000);
    EXPECT_EQ(made({folder}).shortages().size(), 0u) << "it has not been measured yet";
    run->setAsk([this] { run->goOn(true); });
    run->perform(&delegate);
    ASSERT_EQ(run->shortages().size(), 1u);
    EXPECT_EQ(run->shortages()[0].volume, folder / "volume");
    EXPECT_GT(run->shortages()[0].needed, ByteCount{20} << 20);
    EXPECT_LT(run->shortages()[0].available, ByteCount{16} << 20);
    const ExpansionProgress progress = run->takeProgress();
    EXPECT_EQ(progress.counts.at(Outcome::NoSpace), 1u);
    EXPECT_EQ(progress.counts.at(Outcome::Expanded), 2u);
    EXPECT_TRUE(isExpanded("beside"));
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
