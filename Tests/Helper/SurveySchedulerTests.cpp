#include "Helper/SurveyScheduler.h"

#include "Classes/Shared/Log.h"
#include "Platform/AliasManager.h"
#include "Platform/Fake/FakeThisProcess.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/WaitFor.h"

#include <gmock/gmock.h>

#include <atomic>
#include <sched.h>

namespace fs = std::filesystem;

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

/// Knows the aliases that the test has put in.
class ListedAliases final : public AliasManager
{
public:
    Result<Bytes> newAlias(const Path &, const Path &) const override
    {
        return Failure{ErrorCode::NotSupported, 0, ""};
    }
    Result<Resolution> resolve(ByteView record, const Path &) const override
    {
        const auto found = places.find(stringOf(record));
        if (found == places.end())
            return Failure{ErrorCode::NotFound, 0, "no such alias"};
        return Resolution{found->second, bytesOf("new " + found->first)};
    }
    Result<AliasInfo> copyInfo(ByteView) const override { return Failure{ErrorCode::Corrupt, 0, ""}; }

    std::map<std::string, Path> places;
};

class SurveySchedulerTest : public ::testing::Test
{
protected:
    SurveySchedulerTest()
    {
        QObject::connect(
            &scheduler, &SurveyScheduler::progressed, [this](qint64 key, unsigned percent, quint64 savings) {
                told.push_back(std::to_string(key) + ": " + std::to_string(percent) + "% " + std::to_string(savings));
            });
        QObject::connect(&scheduler, &SurveyScheduler::surveyed, [this](qint64 key, quint64 savings) {
            told.push_back(std::to_string(key) + ": saves " + std::to_string(savings));
        });
        QObject::connect(
            &scheduler, &SurveyScheduler::moved, [this](qint64 key, const std::string &folder, const Bytes &alias) {
                told.push_back(std::to_string(key) + ": " + Path(folder).filename().native() + ' ' + stringOf(alias));
            });
        QObject::connect(&scheduler, &SurveyScheduler::finished, [this] { told.push_back("finished"); });
    }
    ~SurveySchedulerTest() override
    {
        isHeld = false;
        scheduler.stop();
        scheduler.waitUntilIdle(std::chrono::seconds(10));
    }

    /// Counts one file for each folder, the same one where the names begin with the same letter. While `isHeld`, it
    /// goes on until it is stopped.
    Result<SurveyResult> survey(const Path &folder, SurveyedFiles &counted, const FolderSurvey::Progressed &progressed,
                                std::stop_token stop)
    {
        ++surveys;
        progressed({50, 1});
        while (isHeld && !stop.stop_requested())
            std::this_thread::yield();
        SurveyResult result;
        result.isComplete = !stop.stop_requested();
        if (folder.filename() == "bad")
            return Failure{ErrorCode::Permission, 0, "made to fail"};
        const FileIdentity file{1, std::uint64_t(folder.filename().native().front())};
        if (!counted.contains(file))
            result.savings = 100;
        counted.add(file);
        progressed({100, result.savings});
        return result;
    }

    SurveyJob job(qint64 key, const std::string &name, const std::string &alias = {})
    {
        return {key, PrivateHome::current().makeFolder(name).native(), bytesOf(alias)};
    }
    bool untilTold(const std::string &last)
    {
        return waitFor([&] { return !told.empty() && told.back() == last; });
    }

    FakeThisProcess process; // ordinary priority, so that a busy machine does not keep the thread from its end
    Override<ThisProcess> processOverride{process};
    ListedAliases aliases;
    Override<AliasManager> aliasOverride{aliases};
    std::atomic<bool> isHeld = false;
    std::atomic<int> surveys = 0;
    std::vector<std::string> told;
    SurveyScheduler scheduler{[this](auto &&...arguments) { return survey(arguments...); }};
};

} // namespace

TEST(SurveyScheduler, thread_isAtIdlePriority)
{
    std::atomic<int> policy = -1;
    SurveyScheduler scheduler([&policy](auto &&...) {
        policy = ::sched_getscheduler(0);
        return SurveyResult();
    });
    scheduler.start({{1, PrivateHome::current().makeFolder("a").native(), {}}});
    EXPECT_TRUE(waitFor([&] { return policy != -1; }, 60000));
    EXPECT_EQ(policy, SCHED_IDLE);
}

TEST_F(SurveySchedulerTest, start_severalFolders_oneAfterAnotherAndSharedFilesOnce)
{
    scheduler.start({job(1, "a"), job(2, "b"), job(3, "a again")});
    EXPECT_TRUE(scheduler.isSurveying());
    ASSERT_TRUE(untilTold("finished"));
    EXPECT_FALSE(scheduler.isSurveying());
    EXPECT_THAT(told, ElementsAre("1: 50% 1", "1: 100% 100", "1: saves 100", "2: 50% 1", "2: 100% 100", "2: saves 100",
                                  "3: 50% 1", "3: 100% 0", "3: saves 0", "finished"));
}

TEST_F(SurveySchedulerTest, thread_isThereOnlyWhileThereIsSomethingToSurvey)
{
    const auto threads = [] {
        return std::distance(fs::directory_iterator("/proc/self/task"), fs::directory_iterator());
    };
    const auto before = threads();
    isHeld = true;
    for (int round = 1; round <= 2; ++round) {
        scheduler.start({job(1, "a")});
        ASSERT_TRUE(waitFor([&] { return surveys == round; }));
        EXPECT_EQ(threads(), before + 1);
        scheduler.stop();
        EXPECT_TRUE(waitFor([&] { return threads() == before; }));
    }
}

TEST_F(SurveySchedulerTest, start_nothingToSurvey_finishes)
{
    scheduler.start({});
    EXPECT_TRUE(scheduler.isSurveying());
    EXPECT_TRUE(untilTold("finished"));
    EXPECT_FALSE(scheduler.isSurveying());
}

TEST_F(SurveySchedulerTest, start_whileSurveying_onlyTheNewRoundIsTold)
{
    isHeld = true;
    scheduler.start({job(1, "a"), job(2, "b")});
    ASSERT_TRUE(waitFor([&] { return surveys == 1; }));
    scheduler.start({job(3, "a")});
    told.clear();
    isHeld = false;
    ASSERT_TRUE(untilTold("finished"));
    EXPECT_THAT(told, ElementsAre("3: 50% 1", "3: 100% 100", "3: saves 100", "finished")) << "counted afresh";
}

TEST_F(SurveySchedulerTest, stop_inTheMiddle_isIdleSoonAndNothingIsToldAnyMore)
{
    isHeld = true;
    scheduler.start({job(1, "a"), job(2, "b")});
    ASSERT_TRUE(waitFor([&] { return !told.empty(); }));
    scheduler.stop();
    EXPECT_FALSE(scheduler.isSurveying());
    EXPECT_TRUE(scheduler.waitUntilIdle(std::chrono::seconds(10)));
    runFor(50);
    EXPECT_THAT(told, ElementsAre("1: 50% 1"));
    EXPECT_EQ(surveys, 1);
}

TEST_F(SurveySchedulerTest, waitUntilIdle_surveyThatDoesNotStop_givesUp)
{
    std::atomic<bool> hasBegun = false;
    SurveyScheduler stubborn([this, &hasBegun](auto &&...) {
        hasBegun = true;
        while (isHeld)
            std::this_thread::yield();
        return SurveyResult();
    });
    isHeld = true;
    EXPECT_TRUE(stubborn.waitUntilIdle(std::chrono::milliseconds(1)));
    stubborn.start({job(1, "a")});
    ASSERT_TRUE(waitFor([&] { return hasBegun.load(); }));
    stubborn.stop();
    EXPECT_FALSE(stubborn.waitUntilIdle(std::chrono::milliseconds(50)));
    isHeld = false;
    EXPECT_TRUE(stubborn.waitUntilIdle(std::chrono::seconds(10)));
}

TEST_F(SurveySchedulerTest, start_folderThatFailsOrIsGone_theOthersAreSurveyed)
{
    SurveyJob gone = job(2, "gone", "unknown alias");
    fs::remove(gone.folder);
    scheduler.start({job(1, "bad"), gone, job(3, "c")});
    ASSERT_TRUE(untilTold("finished"));
    EXPECT_THAT(told, ElementsAre("1: 50% 1", "3: 50% 1", "3: 100% 100", "3: saves 100", "finished"));
}

TEST_F(SurveySchedulerTest, start_movedFolder_isSurveyedWhereItIsAndToldOf)
{
    SurveyJob moved = job(1, "before", "alias");
    aliases.places["alias"] = PrivateHome::current().makeFolder("now");
    fs::remove(moved.folder);
    scheduler.start({moved});
    ASSERT_TRUE(untilTold("finished"));
    EXPECT_THAT(told, ElementsAre("1: now new alias", "1: 50% 1", "1: 100% 100", "1: saves 100", "finished"));
}

TEST_F(SurveySchedulerTest, start_aliasLeadsToAFileOrNowhere_theRecordedFolderIsSurveyed)
{
    aliases.places["file"] = "/etc/passwd";
    scheduler.start({job(1, "a", "file"), job(2, "b", "unknown")});
    ASSERT_TRUE(untilTold("finished"));
    EXPECT_THAT(told, ElementsAre("1: 50% 1", "1: 100% 100", "1: saves 100", "2: 50% 1", "2: 100% 100", "2: saves 100",
                                  "finished"));
}
