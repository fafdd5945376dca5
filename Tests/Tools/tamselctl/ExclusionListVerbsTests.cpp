#include "Tests/Support/FileContent.h"
#include "Tests/Support/PrivateBus.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Tools/tamselctl/Tamselctl.h"

#include <QThread>

#include <gmock/gmock.h>

#include <functional>
#include <set>
#include <sstream>

using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace {

/// Without a panel that runs.
class ExclusionListVerbs : public ::testing::Test
{
protected:
    static Ended paths(std::vector<std::string> words) { return run("paths", std::move(words)); }
    static Ended extensions(std::vector<std::string> words) { return run("extensions", std::move(words)); }
    static Ended run(const char *list, std::vector<std::string> words)
    {
        words.insert(words.begin(), {"exclusions", list});
        return tamselctl(words);
    }
    static void addManyAtOnce()
    {
        std::vector<std::unique_ptr<RunningTamselctl>> running;
        std::set<std::string> added;
        for (int number = 0; number < 20; ++number) {
            const std::string path = "/many/" + std::to_string(number);
            added.insert(path);
            running.push_back(
                std::make_unique<RunningTamselctl>(std::vector<std::string>{"exclusions", "paths", "add", path}));
        }
        for (const auto &each : running) {
            const Ended ended = each->waitForEnd();
            EXPECT_EQ(ended.exitCode, 0) << ended.err;
        }
        std::istringstream lines(paths({"list"}).out);
        for (std::string line; std::getline(lines, line);)
            added.erase(line);
        EXPECT_THAT(added, IsEmpty());
    }
    void storePaths(const std::string &elements)
    {
        std::filesystem::create_directories(support);
        writeFile(support / "excludedPaths.plist", "<plist version=\"1.0\"><array>" + elements + "</array></plist>");
    }

    const Path support = PrivateHome::current().home() / ".local/share/Tamsel";
};

/// With one.
class ExclusionListVerbsOfPanel : public ExclusionListVerbs
{
protected:
    void SetUp() override
    {
        storePaths("<string>/a</string>");
        m_panel.start(QStringLiteral(PANEL), {QStringLiteral("--pane"), QStringLiteral(PANE)});
        ASSERT_TRUE(m_panel.waitForStarted());
        ASSERT_TRUE(wait([] { return isRunning("hostRunning") && isRunning("helperRunning"); }));
    }
    void TearDown() override
    {
        m_panel.terminate();
        EXPECT_TRUE(m_panel.waitForFinished());
        EXPECT_EQ(tamselctl({"post", "pellixHelperShouldQuit"}).exitCode, 0);
        EXPECT_TRUE(wait([] { return !isRunning("helperRunning"); }));
    }
    static bool wait(const std::function<bool()> &condition)
    {
        for (int attempt = 0; attempt < 400; ++attempt) {
            if (condition())
                return true;
            QThread::msleep(50);
        }
        return false;
    }
    static bool isRunning(const char *key)
    {
        const auto objects = jsonLines(tamselctl({"status", "--json"}).out);
        return !objects.empty() && objects[0][QString::fromLatin1(key)].toBool();
    }

    const PrivateBus m_bus;
    QProcess m_panel;
};

} // namespace

TEST_F(ExclusionListVerbs, firstUse_hasTheDefaults)
{
    EXPECT_THAT(paths({"list"}).out, HasSubstr("/var/log\n"));
    EXPECT_THAT(extensions({"list"}).out, HasSubstr("\nzip\n"));
    EXPECT_TRUE(std::filesystem::exists(support / "excludedPaths.plist"));
}

TEST_F(ExclusionListVerbs, addAndRemove_changeTheFile)
{
    storePaths("<string>/a</string>");
    EXPECT_EQ(paths({"add", "/b c/", "/a", "/b c"}).exitCode, 0);
    EXPECT_EQ(paths({"list"}).out, "/a\n/b c\n");
    EXPECT_EQ(paths({"remove", "/a", "/other"}).exitCode, 0);
    EXPECT_EQ(paths({"list"}).out, "/b c\n");
    EXPECT_EQ(extensions({"add", "xyz", "XYZ"}).exitCode, 0);
    EXPECT_THAT(extensions({"list"}).out, HasSubstr("\nxyz\nXYZ\n"));
}

TEST_F(ExclusionListVerbs, slashAtTheEnd_countsOnlyForAnEntryThatHasIt)
{
    storePaths("<string>/a</string><string>/b/</string><string>/b</string>");
    EXPECT_EQ(paths({"remove", "/a/", "/b/"}).exitCode, 0);
    EXPECT_EQ(paths({"list"}).out, "/b\n");
}

TEST_F(ExclusionListVerbs, manyAtOnce_allChangeTheList)
{
    storePaths("");
    addManyAtOnce();
    for (const auto &entry : std::filesystem::directory_iterator(support))
        EXPECT_THAT(entry.path().native(), ::testing::Not(HasSubstr("replaced"))) << "each waited for the others";
}

TEST_F(ExclusionListVerbs, whatIsSoAlready_leavesTheFileAlone)
{
    storePaths("<!-- mine --><string>/a</string>");
    const std::string before = contentOf(support / "excludedPaths.plist");
    EXPECT_EQ(paths({"add", "/a"}).exitCode, 0);
    EXPECT_EQ(paths({"remove", "/b"}).exitCode, 0);
    EXPECT_EQ(contentOf(support / "excludedPaths.plist"), before);
}

TEST_F(ExclusionListVerbs, json_hasAnObjectForEachEntry)
{
    storePaths("<string>/a \"b\"</string>");
    EXPECT_EQ(paths({"list", "--json"}).out, "{\"path\":\"/a \\\"b\\\"\"}\n");
}

TEST_F(ExclusionListVerbs, change_isPosted)
{
    const PrivateBus bus;
    storePaths("");
    RunningTamselctl listener({"listen", "--count", "1", "--timeout", "20"});
    ASSERT_TRUE(listener.waitForError("listening"));
    EXPECT_EQ(paths({"add", "/a"}).exitCode, 0);
    EXPECT_EQ(listener.waitForEnd().out, "com.dovrane.pellix.excludedPaths\n");
}

TEST_F(ExclusionListVerbs, fileThatCannotBeRead_isAFailureAndStays)
{
    storePaths("<unknown/>");
    const std::string before = contentOf(support / "excludedPaths.plist");
    EXPECT_EQ(paths({"list"}).exitCode, 1);
    EXPECT_EQ(paths({"add", "/a"}).exitCode, 1);
    EXPECT_EQ(contentOf(support / "excludedPaths.plist"), before);
}

TEST_F(ExclusionListVerbs, wrongUse_isRefusedAndChangesNothing)
{
    for (const std::vector<std::string> &words : std::vector<std::vector<std::string>>{{},
                                                                                       {"drop", "/a"},
                                                                                       {"add"},
                                                                                       {"add", "relative"},
                                                                                       {"add", "/"},
                                                                                       {"add", "//"},
                                                                                       {"add", "/\xFF"},
                                                                                       {"add", ""},
                                                                                       {"list", "x"}})
        EXPECT_EQ(paths(words).exitCode, 2) << ::testing::PrintToString(words);
    for (const char *word : {".jpg", "a/b", "a/", "a b", "", "*", "\xC3\xA4"})
        EXPECT_EQ(extensions({"add", word}).exitCode, 2) << word;
    EXPECT_THAT(tamselctl({"exclusions", "--help"}).out, HasSubstr("tamselctl exclusions paths list | add PATH"));
}

TEST_F(ExclusionListVerbsOfPanel, change_isMadeByThePanel)
{
    // Were it not the panel that wrote, its next list would lack the first of these.
    const Ended first = paths({"add", "/b c"});
    EXPECT_EQ(first.exitCode, 0) << first.err;
    const Ended second = paths({"add", "/d", "/e"});
    EXPECT_EQ(second.exitCode, 0) << second.err;
    EXPECT_EQ(paths({"list"}).out, "/a\n/b c\n/d\n/e\n");
    EXPECT_EQ(paths({"remove", "/a", "/d"}).exitCode, 0);
    EXPECT_EQ(paths({"list"}).out, "/b c\n/e\n");
    EXPECT_EQ(extensions({"add", "xyz"}).exitCode, 0);
    EXPECT_THAT(extensions({"list"}).out, HasSubstr("xyz\n"));
    addManyAtOnce();
    for (const auto &entry : std::filesystem::directory_iterator(support))
        EXPECT_THAT(entry.path().native(), ::testing::Not(HasSubstr("replaced"))) << "nobody else wrote";
}
