#include "Tests/Classes/PrefPane/ExpansionRunFixture.h"

#include "Platform/Fake/FakeFileSystem.h"
#include "Platform/Fake/FakeThisProcess.h"
#include "Platform/Fake/FakeVolumes.h"
#include "Platform/Formats/CompressedFile.h"

using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

class ExpansionSurveyTest : public ExpansionRunFixture
{
protected:
    ExpansionSurveyTest() { volumes.volumes = {{"/"}}; }

    FakeVolumes volumes;
    Override<Volumes> volumesInPlace{volumes};
};

void addCompressed(FakeFileSystem &files, const Path &path)
{
    files.addFile(path);
    files.setResourceFork(path, CompressedSample::fork(CompressedSample::text(5000)));
    EXPECT_TRUE(files.setAttribute(path, kDecmpfsAttribute, CompressedSample::decmpfs(5000), Links::NotFollow));
    EXPECT_TRUE(files.setFlags(path, kCompressedFlag));
    files.setGroup(path, ::getegid());
}

} // namespace

TEST_F(ExpansionSurveyTest, oneVolume_isReckonedByItsWorstMoment)
{
    make("a", 409600);
    make("b", 819200);
    make("inner/c", 4095);
    writeFile(folder / "ordinary", std::string(5000, 'x'));
    volumes.volumes[0].availableSpace = 0;
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

TEST_F(ExpansionSurveyTest, volumeThatIsTooSmall_isTheOnlyOneTold)
{
    FakeFileSystem files;
    FakeThisProcess process;
    process.user = 0;
    files.addVolume("/small");
    for (const char *const path : {"/small/file", "/file", "/other"})
        addCompressed(files, path);
    volumes.volumes.push_back({"/small"});
    volumes.volumes.back().availableSpace = 8191;
    const Override<FileSystem> override(files);
    const Override<ThisProcess> overrideOfProcess(process);
    ExpansionSurvey survey({});
    survey.add("/");
    EXPECT_EQ(survey.files(), 3u);
    ASSERT_THAT(survey.shortages(), SizeIs(1));
    EXPECT_EQ(survey.shortages()[0].volume, "/small");
    EXPECT_EQ(survey.shortages()[0].needed, 8192u) << "whole blocks";
    EXPECT_EQ(survey.shortages()[0].available, 8191u);
}

TEST_F(ExpansionSurveyTest, pathThatIsDroppedTwice_takesItsRoomOnce)
{
    make("a", 409600);
    make("inner/b", 819200);
    volumes.volumes[0].availableSpace = 0;
    ExpansionSurvey survey({});
    survey.add(folder);
    volumes.volumes[0].availableSpace = survey.shortages().at(0).needed;

    made({folder / "a", folder, folder / "inner/b", folder / "inner", folder});
    run->setAsk([this] {
        ADD_FAILURE() << "there is room";
        run->goOn(false);
    });
    run->perform(&delegate);
    const ExpansionProgress progress = run->takeProgress();
    EXPECT_EQ(progress.filesInAll, 2u);
    EXPECT_EQ(progress.filesDone, 2u);
    EXPECT_EQ(progress.bytesDone, progress.bytesInAll);
    EXPECT_TRUE(isExpanded("a") && isExpanded("inner/b"));
}
