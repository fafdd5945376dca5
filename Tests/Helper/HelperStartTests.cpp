#include "Helper/HelperStart.h"

#include "Platform/Fake/FakeApplicationName.h"
#include "Platform/Fake/FakeThisProcess.h"
#include "Tests/Support/WaitFor.h"

#include <gmock/gmock.h>

#include <optional>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

constexpr const char *kIdentifier = "com.example.helper";

/// One start of a program, with what it came to.
struct Start
{
    explicit Start(const Path &lockFile = "/lock")
        : start(lockFile, kIdentifier)
    {
        QObject::connect(&start, &HelperStart::admitted, [this] { outcome = "admitted"; });
        QObject::connect(&start, &HelperStart::handedOver, [this] { outcome = "handed over"; });
        QObject::connect(&start, &HelperStart::failed, [this] { outcome = "failed"; });
        start.begin();
    }

    HelperStart start;
    std::string outcome;
};

class HelperStartTest : public ::testing::Test
{
protected:
    bool until(const Start &start)
    {
        return waitFor(
            [&] {
                registry.deliver();
                return !start.outcome.empty();
            },
            30000);
    }

    FakeApplicationName::Registry registry;
    FakeApplicationName running{registry};
    FakeApplicationName starting{registry};
    Override<ApplicationName> nameOverride{starting};
    FakeThisProcess process;
    Override<ThisProcess> processOverride{process};
};

} // namespace

TEST_F(HelperStartTest, begin_nobodyRuns_isAdmittedAtOnce)
{
    EXPECT_EQ(Start().outcome, "admitted");
}

TEST_F(HelperStartTest, begin_anotherRunsAndAnswers_handsOver)
{
    const Start first;
    int activations = 0;
    running.setActivationHandler([&](const auto &) { ++activations; });
    running.claim(kIdentifier, [](ApplicationName::Claim) {});
    const Start second;
    ASSERT_TRUE(until(second));
    EXPECT_EQ(second.outcome, "handed over");
    EXPECT_EQ(activations, 1);
}

TEST_F(HelperStartTest, begin_theOtherIsEnding_isAdmittedOnceItHasEnded)
{
    std::optional<Start> first(std::in_place);
    const Start second;
    runFor(20);
    registry.deliver();
    EXPECT_EQ(second.outcome, "");
    first->start.release();
    ASSERT_TRUE(until(second));
    EXPECT_EQ(second.outcome, "admitted");
}

TEST_F(HelperStartTest, begin_theOtherTakesItsNameLate_handsOver)
{
    const Start first;
    const Start second;
    registry.deliver();
    running.setActivationHandler([](const auto &) {});
    running.claim(kIdentifier, [](ApplicationName::Claim) {});
    ASSERT_TRUE(until(second));
    EXPECT_EQ(second.outcome, "handed over");
}

TEST_F(HelperStartTest, begin_theOtherNeverAnswers_givesWayInTheEnd)
{
    registry.setConnected(false);
    const Start first;
    const Start second;
    ASSERT_TRUE(until(second));
    EXPECT_EQ(second.outcome, "handed over");
    EXPECT_EQ(first.outcome, "admitted");
}

TEST_F(HelperStartTest, begin_lockCannotBeMade_fails)
{
    class NoLocks : public ThisProcess
    {
        std::uint32_t userId() const override { return 0; }
        bool isInputATerminal() const override { return false; }
        Result<std::unique_ptr<FileLock>> lockFile(const Path &) override
        {
            return Failure{ErrorCode::Permission, 0, "made to fail"};
        }
        Result<void> makeThreadIdle() override { return {}; }
        Failure replaceBy(const Path &, const std::vector<std::string> &) override { return {}; }
        void ignoreBrokenPipes() override {}
        [[noreturn]] void exitAtOnce(int) override { std::abort(); }
    } noLocks;
    const Override<ThisProcess> over(noLocks);
    EXPECT_EQ(Start().outcome, "failed");
}
