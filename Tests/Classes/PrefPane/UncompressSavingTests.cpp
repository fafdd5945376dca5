#include "Classes/PrefPane/UncompressSaving.h"

#include "Classes/PrefPane/ExpansionRun.h"
#include "Classes/PrefPane/UncompressWords.h"
#include "Platform/Fake/FakeUserFolders.h"
#include "Tests/Support/FileContent.h"
#include "Tests/Support/FileSizeLimit.h"
#include "Tests/Support/Noise.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/WaitFor.h"

#include <gmock/gmock.h>

#include <algorithm>

using ::testing::StartsWith;

namespace {

class UncompressSavingTest : public ::testing::Test
{
protected:
    UncompressSavingTest()
    {
        QObject::connect(&saving, &UncompressSaving::ended,
                         [this](const QString &, const QString &fault, bool isThere) {
                             faults.push_back(fault.toStdString());
                             isWritten = isThere;
                         });
    }

    using Run = std::shared_ptr<ExpansionRun>;

    static Run newRun() { return std::make_shared<ExpansionRun>(std::vector<Path>(), UncompressWords::line); }

    /// Has it meet so many files, none of which is to be expanded, and end.
    static Run ended(Run run, int files)
    {
        for (int file = 0; file < files; ++file)
            run->fileLeftAlone("/" + noise(), PXPathUncompressorObserver::LeftAlone::TooSmall);
        run->perform(nullptr);
        return run;
    }
    void save(const Run &run, const Path &file) { saving.save(run, QString::fromStdString(file.native())); }
    bool untilEnded(std::size_t savings)
    {
        return waitFor([&] { return faults.size() == savings; });
    }
    static auto linesOf(const Path &file)
    {
        const std::string text = contentOf(file);
        return std::ranges::count(text, '\n');
    }

    const Path first = PrivateHome::current().root() / "first.txt";
    const Path second = PrivateHome::current().root() / "second.txt";
    UncompressSaving saving;
    std::vector<std::string> faults;
    bool isWritten = false;
};

} // namespace

TEST_F(UncompressSavingTest, savedTwiceAtOnce_bothListsAreWhole)
{
    const Run run = ended(newRun(), 20000);
    save(run, first);
    save(run, second);
    EXPECT_TRUE(saving.isSaving());
    ASSERT_TRUE(untilEnded(2));
    EXPECT_FALSE(saving.isSaving());
    EXPECT_EQ(faults, std::vector<std::string>(2));
    EXPECT_TRUE(isWritten);
    EXPECT_EQ(linesOf(first), 20000);
    EXPECT_EQ(contentOf(first), contentOf(second));
}

TEST_F(UncompressSavingTest, savingThatGoes_writesItsListFirst)
{
    {
        UncompressSaving gone;
        gone.save(ended(newRun(), 20000), QString::fromStdString(first.native()));
    }
    EXPECT_EQ(linesOf(first), 20000);
}

TEST_F(UncompressSavingTest, listThatIsNotWhole_isWrittenAsFarAsItGoesAndSaysSo)
{
    Run run = newRun();
    {
        const FileSizeLimit limit(32768);
        ended(run, 5000);
    }
    save(run, first);
    ASSERT_TRUE(untilEnded(1));
    EXPECT_NE(faults[0], "");
    EXPECT_TRUE(isWritten);
    EXPECT_THAT(contentOf(first), StartsWith("Left alone: smaller than 4096 bytes\t\t/"));
    EXPECT_LT(linesOf(first), 5000);
}

TEST_F(UncompressSavingTest, listThatWasNeverKept_leavesWhatIsThere)
{
    FakeUserFolders folders(PrivateHome::current().root());
    folders.failures.failCall(0, ErrorCode::NoSpace);
    Run run;
    {
        const Override<UserFolders> override(folders);
        run = ended(newRun(), 1);
    }
    writeFile(first, "precious");
    save(run, first);
    ASSERT_TRUE(untilEnded(1));
    EXPECT_NE(faults[0], "");
    EXPECT_FALSE(isWritten);
    EXPECT_EQ(contentOf(first), "precious");
}

TEST_F(UncompressSavingTest, folderThatIsNotThere_isAFault)
{
    save(ended(newRun(), 1), first / "below a file");
    ASSERT_TRUE(untilEnded(1));
    EXPECT_NE(faults[0], "");
    EXPECT_FALSE(isWritten);
}
