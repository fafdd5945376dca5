#include "Tests/Support/PrivateBus.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/PrivateMounts.h"
#include "Tests/Support/WaitFor.h"
#include "Tests/Tools/tamselctl/Tamselctl.h"

#include <gmock/gmock.h>

#include <filesystem>

namespace fs = std::filesystem;

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

namespace {

/// With a bus; the helper is the real one. The folders lie on a volume that needs a warning wherever the test runs.
class FolderVerbs : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!mounts.mountMemory(volume))
            GTEST_SKIP() << "this machine gives a test no mounts of its own";
        fs::create_directories(first);
        fs::create_directories(second);
    }
    void TearDown() override
    {
        EXPECT_EQ(tamselctl({"post", "pellixHelperShouldQuit"}).exitCode, 0);
        EXPECT_TRUE(waitFor([] {
            return !jsonLines(tamselctl({"status", "--json"}).out).at(0)[QStringLiteral("helperRunning")].toBool();
        }));
    }

    static std::string listed() { return tamselctl({"folders", "list"}).out; }

    /// At a terminal, where somebody types `answer`.
    static std::string addAtTerminal(const fs::path &folder, const char *answer)
    {
        QProcess process;
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(QStringLiteral("script"),
                      {QStringLiteral("-qefc"),
                       QStringLiteral("'" TAMSELCTL "' folders add '%1'").arg(QString::fromStdString(folder.native())),
                       QStringLiteral("/dev/null")});
        std::string said;
        const auto read = [&] {
            process.waitForReadyRead(50);
            said += process.readAll().toStdString();
        };
        EXPECT_TRUE(waitFor([&] { return read(), said.find("[y/N]") != std::string::npos; })) << said;
        process.write(answer);
        EXPECT_TRUE(waitFor([&] { return read(), process.state() == QProcess::NotRunning; })) << said;
        return said + " exit " + std::to_string(process.exitCode());
    }

    const fs::path volume = PrivateHome::current().makeFolder("volume");
    const fs::path first = volume / "first";
    const fs::path second = volume / "second folder";
    PrivateMounts mounts;
    PrivateBus bus;
};

} // namespace

TEST_F(FolderVerbs, addAnyway_folders_areOnTheListInTheirOrder)
{
    const Ended ended = tamselctl({"folders", "add", "--add-anyway", first / "", volume / "first/../second folder"});
    EXPECT_EQ(ended.exitCode, 0) << ended.err;
    EXPECT_EQ(listed(), first.native() + "\n" + second.native() + "\n");
    const auto lines = jsonLines(tamselctl({"folders", "list", "--json"}).out);
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[1][QStringLiteral("folder")].toString().toStdString(), second.native());
    EXPECT_EQ(tamselctl({"folders", "add", "--add-anyway", first}).exitCode, 0) << "it is so already";
}

TEST_F(FolderVerbs, withoutAnOptionOrATerminal_nothingIsAdded)
{
    const Ended ended = tamselctl({"folders", "add", first});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_THAT(ended.err, AllOf(HasSubstr("--add-anyway"), HasSubstr(first.native())));
    EXPECT_EQ(listed(), "");
}

TEST_F(FolderVerbs, cancel_leavesWarnedOnesOut)
{
    const Ended ended = tamselctl({"folders", "add", "--cancel", first});
    EXPECT_EQ(ended.exitCode, 0) << ended.err;
    EXPECT_EQ(listed(), "");
}

TEST_F(FolderVerbs, atATerminal_theUserIsAsked)
{
    EXPECT_THAT(addAtTerminal(first, "y\n"), AllOf(HasSubstr(first.native()), HasSubstr("exit 0")));
    EXPECT_THAT(addAtTerminal(second, "n\n"), HasSubstr("exit 0"));
    EXPECT_EQ(listed(), first.native() + "\n");
}

TEST_F(FolderVerbs, removableVolume_isLeftOutAndAFailure)
{
    const fs::path image = PrivateHome::current().makeFolder("image");
    if (!mounts.mountImage("ext4", image))
        GTEST_SKIP() << "this machine mounts no image of this format for a test";
    const Ended ended = tamselctl({"folders", "add", "--add-anyway", image, first});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_THAT(ended.err, HasSubstr("removable volume: " + image.native()));
    EXPECT_EQ(listed(), first.native() + "\n");
}

TEST_F(FolderVerbs, whatTheHelperRefuses_isSaidAndAFailure_untilItIsTaken)
{
    const Ended ended = tamselctl({"folders", "add", "--add-anyway", "/usr/share", first});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_THAT(ended.err, AllOf(HasSubstr("it belongs to the system: /usr/share"), Not(HasSubstr(first.native()))));
    EXPECT_EQ(listed(), first.native() + "\n");
    EXPECT_EQ(tamselctl({"folders", "add", "--add-anyway", second}).exitCode, 0) << "the refusal before is forgotten";
}

TEST_F(FolderVerbs, remove_watched_isTakenOffTheList)
{
    ASSERT_EQ(tamselctl({"folders", "add", "--add-anyway", first, second}).exitCode, 0);
    fs::remove(second);
    const Ended ended = tamselctl({"folders", "remove", second});
    EXPECT_EQ(ended.exitCode, 0) << ended.err;
    EXPECT_EQ(listed(), first.native() + "\n");
    EXPECT_EQ(tamselctl({"folders", "remove", second}).exitCode, 1) << "no longer watched";
}

TEST_F(FolderVerbs, remove_anotherFolderHasItsFormerPath_onlyTheOneThatIsThereGoes)
{
    ASSERT_EQ(tamselctl({"off"}).exitCode, 0) << "or a survey would record where they are";
    ASSERT_EQ(tamselctl({"folders", "add", "--add-anyway", first, second}).exitCode, 0);
    fs::rename(first, volume / "former");
    fs::rename(second, first);
    const Ended ended = tamselctl({"folders", "remove", first});
    EXPECT_EQ(ended.exitCode, 0) << ended.err;
    EXPECT_EQ(listed(), (volume / "former").native() + "\n");
}

TEST_F(FolderVerbs, remove_movedWhereThePathIsNoText_isAFailureAtOnce)
{
    ASSERT_EQ(tamselctl({"off"}).exitCode, 0);
    ASSERT_EQ(tamselctl({"folders", "add", "--add-anyway", first}).exitCode, 0);
    fs::rename(first, volume / "caf\xe9");
    const Ended ended = tamselctl({"folders", "remove", first});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_THAT(ended.err, HasSubstr("only UTF-8"));
    EXPECT_EQ(listed(), (volume / "caf\xe9").native() + "\n");
}

TEST_F(FolderVerbs, add_moreThanTheHelperKeepsRefusalsOf_eachIsAnswered)
{
    std::vector<std::string> words{"folders", "add", "--add-anyway"};
    for (int i = 0; i < 101; ++i) {
        fs::create_directory_symlink("/usr/share", volume / ("link " + std::to_string(i)));
        words.push_back(volume / ("link " + std::to_string(i)));
    }
    words.push_back(first);
    const Ended ended = tamselctl(words);
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_THAT(ended.err, AllOf(HasSubstr("belongs to the system: " + words[3]), HasSubstr(words[103]),
                                 Not(HasSubstr("does not answer"))));
    EXPECT_EQ(listed(), first.native() + "\n");
}

TEST_F(FolderVerbs, wrongUse_isRefused)
{
    EXPECT_EQ(tamselctl({"folders", "add"}).exitCode, 2);
    EXPECT_EQ(tamselctl({"folders", "add", "--cancel", "--add-anyway", first}).exitCode, 2);
    EXPECT_EQ(tamselctl({"folders", "add", "--add-anyway", first / "\xff"}).exitCode, 2);
    EXPECT_EQ(tamselctl({"folders", "add", "--add-anyway", first / "gone"}).exitCode, 1);
    EXPECT_EQ(listed(), "");
}
