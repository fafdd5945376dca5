#include "Classes/Shared/BackgroundLook.h"

#include "Tests/Support/WaitFor.h"

#include <gmock/gmock.h>

#include <atomic>
#include <map>
#include <memory>
#include <set>
#include <vector>

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

namespace {

using Numbers = std::vector<int>;

/// Doubles numbers, but hangs at those below zero until it is let go; outlives the threads.
class Doubling
{
public:
    int operator()(int number)
    {
        std::unique_lock lock(m_mutex);
        ++m_looks[number];
        m_changed.wait(lock, [&] { return number >= 0 || m_isFree; });
        return 2 * number;
    }
    void letGo()
    {
        const std::lock_guard lock(m_mutex);
        m_isFree = true;
        m_changed.notify_all();
    }
    int looks(int number)
    {
        const std::lock_guard lock(m_mutex);
        return m_looks[number];
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_isFree = false;
    std::map<int, int> m_looks;
};

/// Time passes when the test says so.
class BackgroundLookTest : public ::testing::Test
{
protected:
    using Look = BackgroundLook<int, int>;

    ~BackgroundLookTest() override { doubling->letGo(); }

    void pass(std::chrono::seconds time) { *now += time.count(); }
    bool waitForLookAt(int number)
    {
        return waitFor([&] { return doubling->looks(number) == 1; });
    }

    void begin(Numbers numbers) { look->begin(std::move(numbers)); }
    bool waitForAnswers(std::size_t count)
    {
        return waitFor([&] { return answers.size() >= count; });
    }

    const std::shared_ptr<Doubling> doubling = std::make_shared<Doubling>();
    const std::shared_ptr<std::atomic<std::int64_t>> now = std::make_shared<std::atomic<std::int64_t>>(1000);
    Numbers answers;
    int calls = 0;
    std::unique_ptr<Look> look =
        std::make_unique<Look>([doubles = doubling](int number) { return (*doubles)(number); },
                               [this](const auto &found) {
                                   ++calls;
                                   for (const auto &[question, answer] : found)
                                       answers.push_back(answer);
                               },
                               [time = now] { return Look::Clock::time_point(std::chrono::seconds(*time)); });
};

} // namespace

TEST_F(BackgroundLookTest, begin_returnsAtOnceAndAnswersTogether)
{
    begin({1, 2, 3});
    EXPECT_THAT(answers, IsEmpty());
    ASSERT_TRUE(waitForAnswers(3));
    EXPECT_THAT(answers, ElementsAre(2, 4, 6));
    EXPECT_EQ(calls, 1);
}

TEST_F(BackgroundLookTest, whatHangs_holdsUpNothingElse)
{
    begin({-1, 1, -2, 2});
    for (const int hanging : {-1, -2}) {
        ASSERT_TRUE(waitForLookAt(hanging));
        EXPECT_THAT(answers, IsEmpty());
        pass(Look::kPatience);
    }
    ASSERT_TRUE(waitForAnswers(2));
    EXPECT_THAT(answers, ElementsAre(2, 4));
    begin({3, -1});
    ASSERT_TRUE(waitForAnswers(3));
    EXPECT_EQ(answers.back(), 6);
    EXPECT_EQ(doubling->looks(-1), 1) << "nobody has answered the first time yet";
    doubling->letGo();
    ASSERT_TRUE(waitForAnswers(5));
    EXPECT_EQ(std::set(answers.begin() + 3, answers.end()), std::set({-2, -4}));
}

TEST_F(BackgroundLookTest, whatHangsAtTheEnd_doesNotKeepTheRestFromBeingTold)
{
    begin({1, -1});
    ASSERT_TRUE(waitForLookAt(-1));
    pass(Look::kPatience);
    ASSERT_TRUE(waitForAnswers(1));
    EXPECT_THAT(answers, ElementsAre(2));
}

TEST_F(BackgroundLookTest, askedForMeanwhile_theLastIsDoneAfterwards)
{
    begin({-1, 1});
    begin({2});
    begin({3, 4});
    doubling->letGo();
    ASSERT_TRUE(waitForAnswers(4));
    EXPECT_THAT(answers, UnorderedElementsAre(-2, 2, 6, 8));
}

TEST_F(BackgroundLookTest, sameAgainAMomentLater_isDoneLater)
{
    begin({1});
    ASSERT_TRUE(waitForAnswers(1));
    begin({1});
    runFor(500); // the timer turns meanwhile
    EXPECT_EQ(doubling->looks(1), 1);
    pass(Look::kServes);
    ASSERT_TRUE(waitForAnswers(2)) << "it is not forgotten";
}

TEST_F(BackgroundLookTest, sameAgainAfterItExpired_isDoneAtOnce)
{
    begin({1});
    ASSERT_TRUE(waitForAnswers(1));
    look->expire();
    begin({1});
    look->wait(std::chrono::seconds(60));
    EXPECT_THAT(answers, ElementsAre(2, 2));
}

TEST_F(BackgroundLookTest, wait_handsOverWithoutTheEventLoop)
{
    begin({1, 2});
    look->wait(std::chrono::seconds(60));
    EXPECT_THAT(answers, ElementsAre(2, 4));
}

TEST_F(BackgroundLookTest, wait_ofWhatHangs_endsAllTheSame)
{
    begin({1, -1});
    look->wait(std::chrono::milliseconds(20));
    EXPECT_LE(answers.size(), 1U);
}

TEST_F(BackgroundLookTest, destroyedWhileLooking_tellsNobody)
{
    begin({-1, 1});
    ASSERT_TRUE(waitForLookAt(-1));
    look.reset();
    doubling->letGo();
    runFor(50);
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(doubling->looks(1), 0) << "the rest is not looked at any more";
}
