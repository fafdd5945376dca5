#include "Classes/PrefPane/ExclusionCounter.h"

#include "Tests/Support/EmptyFolder.h"
#include "Tests/Support/FileContent.h"
#include "Tests/Support/WaitFor.h"

#include <gmock/gmock.h>

namespace fs = std::filesystem;

using ::testing::ElementsAre;

namespace {

class ExclusionCounterTest : public ::testing::Test
{
protected:
    ExclusionCounterTest()
    {
        fs::create_directories(folder / "in/deep");
        for (const char *name : {"a.x", "b.y", "in/c.x", "in/deep/d.x", "in/deep/e"})
            writeFile(folder / name, "content");
        fs::create_symlink(folder / "a.x", folder / "link.x");
        QObject::connect(&counter, &ExclusionCounter::counted, [this](quint64 files) { answers.push_back(files); });
    }
    quint64 count(const ExclusionCounter::Question &question)
    {
        answers.clear();
        counter.count(question);
        EXPECT_TRUE(waitFor([this] { return !answers.empty(); }, 60000));
        return answers.empty() ? 0 : answers.back();
    }

    fs::path folder = makeEmptyFolder("watched");
    std::vector<quint64> answers;
    ExclusionCounter counter;
};

} // namespace

TEST_F(ExclusionCounterTest, files_areCountedByExtensionAndPath)
{
    EXPECT_EQ(count({{folder}, {}, {"x"}}), 3u) << "a link is no file";
    EXPECT_EQ(count({{folder}, {folder / "in"}, {}}), 3u);
    EXPECT_EQ(count({{folder}, {folder / "in/deep", folder / "b.y"}, {}}), 3u);
    EXPECT_EQ(count({{folder}, {"/elsewhere"}, {"none"}}), 0u);
}

TEST_F(ExclusionCounterTest, folderWithinAnother_countsOnce)
{
    EXPECT_EQ(count({{folder, folder / "in", folder}, {}, {"x"}}), 3u);
    EXPECT_EQ(count({{folder / "in/deep", folder}, {}, {"x"}}), 3u);
}

TEST_F(ExclusionCounterTest, folderThatIsGone_isPassedOver)
{
    EXPECT_EQ(count({{folder / "none", folder}, {}, {"x"}}), 3u);
    EXPECT_EQ(count({{}, {}, {"x"}}), 0u);
}

TEST_F(ExclusionCounterTest, onlyTheLastQuestion_isAnswered)
{
    for (int round = 0; round < 20; ++round)
        counter.count({{folder}, {}, {"x"}});
    counter.count({{folder}, {}, {"y"}});
    EXPECT_TRUE(waitFor([this] { return !answers.empty(); }, 60000));
    EXPECT_THAT(answers, ElementsAre(1u));
}

TEST_F(ExclusionCounterTest, stop_takesTheQuestionBack)
{
    counter.count({{folder}, {}, {"x"}});
    counter.stop();
    EXPECT_EQ(count({{folder}, {}, {"y"}}), 1u);
    EXPECT_THAT(answers, ElementsAre(1u));
}
