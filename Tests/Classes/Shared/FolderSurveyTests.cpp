#include "Classes/Shared/FolderSurvey.h"

#include "Platform/Fake/FakeFileSystem.h"
#include "Platform/Formats/CompressedFile.h"
#include "Tests/Support/CompressedSample.h"
#include "Tests/Support/PrivateHome.h"

#include <gmock/gmock.h>

#include <fstream>

using ::testing::AnyOf;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

/// Over real files.
class FolderSurveyTest : public ::testing::Test
{
protected:
    SurveyResult survey(const Path &folder, std::stop_token stop = {})
    {
        FolderSurvey survey(folder, m_counted);
        survey.setProgressed([this](const SurveyProgress &progress) { m_progress.push_back(progress); });
        survey.setFoundDamaged([this](const Path &file, const std::string &reason) {
            EXPECT_FALSE(reason.empty());
            m_damaged.push_back(file.filename());
        });
        const Result<SurveyResult> result = survey.run(std::move(stop));
        EXPECT_TRUE(result);
        return result ? *result : SurveyResult();
    }
    ByteCount savingsOf(const Path &file) const
    {
        const FileSystem &files = FileSystem::current();
        return *files.logicalSize(file) - *files.occupiedSize(file);
    }

    Path m_folder = PrivateHome::current().makeFolder("surveyed");
    SurveyedFiles m_counted;
    std::vector<SurveyProgress> m_progress;
    std::vector<std::string> m_damaged;
};

TEST_F(FolderSurveyTest, folder_empty_savesNothingAndIsDone)
{
    const SurveyResult result = survey(m_folder);
    EXPECT_EQ(result.savings, 0u);
    EXPECT_EQ(result.compressedFiles, 0u);
    EXPECT_TRUE(result.isComplete);
    ASSERT_FALSE(m_progress.empty());
    EXPECT_EQ(m_progress.back().percent, 100u);
}

TEST_F(FolderSurveyTest, compressedFiles_areAddedUpAndOthersAreNot)
{
    std::filesystem::create_directories(m_folder / "a/b");
    CompressedSample::make(m_folder / "one", CompressedSample::text(300000));
    CompressedSample::make(m_folder / "a/b/two", CompressedSample::text(1000000));
    std::ofstream(m_folder / "a/plain") << stringOf(CompressedSample::text(50000));
    std::ofstream(m_folder / "a/empty").close();
    const SurveyResult result = survey(m_folder);
    EXPECT_EQ(result.savings, savingsOf(m_folder / "one") + savingsOf(m_folder / "a/b/two"));
    EXPECT_GT(result.savings, 1000000u);
    EXPECT_EQ(result.compressedFiles, 2u);
    EXPECT_EQ(result.damagedFiles, 0u);
    EXPECT_EQ(m_progress.back().savings, result.savings);
}

TEST_F(FolderSurveyTest, fileThatItsVolumeCompresses_isNeitherCountedNorDamaged)
{
    FakeFileSystem files;
    const Override<FileSystem> installed(files);
    files.addFile("/surveyed/file", CompressedSample::text(100000));
    files.setOnCompressingVolume("/surveyed/file");
    const SurveyResult result = survey("/surveyed");
    EXPECT_EQ(result.compressedFiles, 0u);
    EXPECT_EQ(result.damagedFiles, 0u);
    EXPECT_EQ(result.savings, 0u);
}

TEST_F(FolderSurveyTest, fileThatOccupiesMore_countsAsNoSavings)
{
    CompressedSample::make(m_folder / "tiny", CompressedSample::text(100));
    const SurveyResult result = survey(m_folder);
    EXPECT_EQ(result.savings, 0u);
    EXPECT_EQ(result.compressedFiles, 1u);
}

TEST_F(FolderSurveyTest, damagedFiles_areNamedAndNotCounted)
{
    for (const std::string name : {"without-fork", "cut-fork", "bad-companion", "without-header", "sound"})
        CompressedSample::make(m_folder / name, CompressedSample::text(300000));
    std::filesystem::remove(m_folder / "._without-fork");
    std::filesystem::resize_file(m_folder / "._bad-companion", 20);
    const Bytes fork = CompressedSample::fork(CompressedSample::text(300000));
    std::ofstream(m_folder / "._cut-fork", std::ios::binary)
        << stringOf(CompressedSample::companion(ByteView(fork).first(270)));
    ASSERT_TRUE(
        FileSystem::current().removeAttribute(m_folder / "without-header", kDecmpfsAttribute, Links::NotFollow));
    const SurveyResult result = survey(m_folder);
    EXPECT_THAT(m_damaged, UnorderedElementsAre("without-fork", "cut-fork", "bad-companion", "without-header"));
    EXPECT_EQ(result.damagedFiles, 4u);
    EXPECT_EQ(result.compressedFiles, 1u);
    EXPECT_EQ(result.savings, savingsOf(m_folder / "sound"));
}

TEST_F(FolderSurveyTest, fileWithTwoNames_countsOnceWhicheverHasTheFork)
{
    CompressedSample::make(m_folder / "m", CompressedSample::text(300000));
    std::filesystem::create_hard_link(m_folder / "m", m_folder / "a");
    std::filesystem::create_hard_link(m_folder / "m", m_folder / "z");
    const SurveyResult result = survey(m_folder);
    EXPECT_EQ(result.savings, savingsOf(m_folder / "m"));
    EXPECT_EQ(result.compressedFiles, 1u);
    EXPECT_THAT(m_damaged, IsEmpty());
}

TEST_F(FolderSurveyTest, nestedFolder_inOneRound_countsOnce)
{
    std::filesystem::create_directories(m_folder / "inner");
    CompressedSample::make(m_folder / "inner/file", CompressedSample::text(300000));
    EXPECT_EQ(survey(m_folder / "inner").compressedFiles, 1u);
    const SurveyResult outer = survey(m_folder);
    EXPECT_EQ(outer.compressedFiles, 0u);
    EXPECT_EQ(outer.savings, 0u);
    m_counted = {};
    EXPECT_EQ(survey(m_folder).compressedFiles, 1u);
}

TEST_F(FolderSurveyTest, links_areNotFollowed)
{
    const Path outside = PrivateHome::current().makeFolder("outside");
    CompressedSample::make(outside / "file", CompressedSample::text(300000));
    std::filesystem::create_symlink(outside, m_folder / "folder");
    std::filesystem::create_symlink(outside / "file", m_folder / "file");
    EXPECT_EQ(survey(m_folder).compressedFiles, 0u);
}

TEST_F(FolderSurveyTest, leftOutFiles_areNeitherCountedNorNamed)
{
    std::filesystem::create_directories(m_folder / "inner/deep");
    for (const std::string name : {"in", "out", "damaged", "inner/in", "inner/deep/out"})
        CompressedSample::make(m_folder / name, CompressedSample::text(300000));
    std::filesystem::remove(m_folder / "._damaged");
    FolderSurvey survey(m_folder, m_counted);
    std::vector<Path> entered;
    survey.setFoundDamaged([](const Path &, const std::string &) { FAIL(); });
    survey.setLeftOut([](const Path &path) { return path.filename() == "out" || path.filename() == "damaged"; },
                      [&](const Path &folder) {
                          entered.push_back(folder);
                          return folder.filename() == "deep";
                      });
    const Result<SurveyResult> result = survey.run({});
    ASSERT_TRUE(result);
    EXPECT_EQ(result->compressedFiles, 2u);
    EXPECT_EQ(result->savings, savingsOf(m_folder / "in") + savingsOf(m_folder / "inner/in"));
    EXPECT_EQ(result->damagedFiles, 0u);
    EXPECT_THAT(entered, Each(AnyOf(m_folder / "inner", m_folder / "inner/deep"))) << "only folders are asked for";
}

TEST_F(FolderSurveyTest, folderLeftOutAsAWhole_isNotEntered)
{
    FakeFileSystem files;
    const Override<FileSystem> installed(files);
    files.addFile("/f/out/file");
    files.addFile("/f/in/file");
    FolderSurvey survey("/f", m_counted);
    std::vector<unsigned> percents;
    survey.setLeftOut({}, [](const Path &folder) { return folder == "/f/out"; });
    survey.setProgressed([&](const SurveyProgress &progress) { percents.push_back(progress.percent); });
    ASSERT_TRUE(survey.run({}));
    EXPECT_THAT(percents, ElementsAre(0, 33, 66, 99, 100)) << "two folders and one file";
}

TEST_F(FolderSurveyTest, progress_risesFromZeroToHundredAndStays)
{
    for (int index = 0; index < 250; ++index)
        std::ofstream(m_folder / std::to_string(index)).close();
    survey(m_folder);
    ASSERT_EQ(m_progress.size(), 101u) << "each percent once";
    for (unsigned percent = 0; percent <= 100; ++percent)
        EXPECT_EQ(m_progress[percent].percent, percent);
}

TEST_F(FolderSurveyTest, folderThatGrowsMeanwhile_isNotDoneEarly)
{
    FakeFileSystem files;
    const Override<FileSystem> installed(files);
    files.addFolder("/f");
    files.addFile("/f/1");
    FolderSurvey survey("/f", m_counted);
    std::vector<unsigned> percents;
    survey.setProgressed([&](const SurveyProgress &progress) {
        percents.push_back(progress.percent);
        if (progress.percent == 0) {
            for (int index = 2; index < 10; ++index)
                files.addFile("/f/" + std::to_string(index));
        }
    });
    ASSERT_TRUE(survey.run({}));
    EXPECT_THAT(percents, ElementsAre(0, 99, 100));
}

TEST_F(FolderSurveyTest, stop_requested_endsWithoutSayingItIsComplete)
{
    for (int index = 0; index < 100; ++index)
        std::ofstream(m_folder / std::to_string(index)).close();
    std::stop_source stop;
    FolderSurvey survey(m_folder, m_counted);
    unsigned last = 0;
    survey.setProgressed([&](const SurveyProgress &progress) {
        last = progress.percent;
        if (last == 50)
            stop.request_stop();
    });
    const Result<SurveyResult> result = survey.run(stop.get_token());
    ASSERT_TRUE(result);
    EXPECT_FALSE(result->isComplete);
    EXPECT_EQ(last, 50u);
}

TEST_F(FolderSurveyTest, folder_missing_isNotFound)
{
    FolderSurvey survey(m_folder / "none", m_counted);
    EXPECT_EQ(survey.run({}).failure().code, ErrorCode::NotFound);
}

TEST_F(FolderSurveyTest, otherVolumesAndUnreadableFolders_arePassedOver)
{
    FakeFileSystem files;
    const Override<FileSystem> installed(files);
    const auto add = [&](const Path &path) {
        files.addFile(path);
        files.setResourceFork(path, CompressedSample::fork(CompressedSample::text(300000)));
        ASSERT_TRUE(files.setAttribute(path, kDecmpfsAttribute, CompressedSample::decmpfs(300000), Links::NotFollow));
        ASSERT_TRUE(files.setFlags(path, kCompressedFlag));
    };
    add("/f/file");
    files.addVolume("/f/mounted");
    add("/f/mounted/file");
    add("/f/secret/file");
    files.setUnreadable("/f/secret");
    const SurveyResult result = survey("/f");
    EXPECT_EQ(result.compressedFiles, 1u);
    EXPECT_TRUE(result.isComplete);
}
