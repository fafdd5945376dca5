#include "Platform/DistributedNotificationCenter.h"
#include "Platform/Fake/FakeNotificationCenter.h"
#include "Platform/Linux/Qt/BusNotificationCenter.h"
#include "Platform/Linux/Qt/SessionBus.h"
#include "Tests/Support/PrivateBus.h"
#include "Tests/Support/WaitFor.h"

#include <gmock/gmock.h>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

struct OnFake
{
    void settle() { center.deliver(); }
    void loseBus() { center.setConnected(false); }
    void regainBus() { center.setConnected(true); }

    FakeNotificationCenter center;
};

struct OnBus
{
    void settle()
    {
        // What the bus sends back has arrived before the answer to a call made after it.
        bool isFlushed = false;
        center.flush([&](bool) { isFlushed = true; });
        ASSERT_TRUE(waitFor([&] { return isFlushed; }));
    }
    void loseBus()
    {
        process.kill();
        ASSERT_TRUE(waitFor([&] { return !center.isConnected(); }));
    }
    void regainBus()
    {
        process.start();
        ASSERT_TRUE(waitFor([&] { return center.isConnected(); }));
    }

    PrivateBus process;
    SessionBus bus;
    BusNotificationCenter center{bus};
};

template <class Setting>
class NotificationCenterContract : public ::testing::Test
{
protected:
    DistributedNotificationCenter::Handler noting(std::vector<std::string> &list, const std::string &who)
    {
        return [&list, who](const Notification &notification) { list.push_back(who + ':' + notification.name); };
    }

    /// What an observer of "n" is given for this user information.
    std::vector<UserInfo> sentAndReceived(const UserInfo &userInfo)
    {
        std::vector<UserInfo> received;
        const int observer = center.addObserver(
            "n", [&](const Notification &notification) { received.push_back(notification.userInfo); });
        center.post("n", userInfo);
        setting.settle();
        center.removeObserver(observer);
        return received;
    }

    Setting setting;
    DistributedNotificationCenter &center = setting.center;
    std::vector<std::string> seen;
};

using Settings = ::testing::Types<OnFake, OnBus>;
TYPED_TEST_SUITE(NotificationCenterContract, Settings);

} // namespace

TYPED_TEST(NotificationCenterContract, post_observedByTheSameProcess_arrivesExactlyOnce)
{
    this->center.addObserver("own", this->noting(this->seen, "one"));
    this->center.post("own");
    this->setting.settle();
    this->setting.settle();
    EXPECT_THAT(this->seen, ElementsAre("one:own"));
}

TYPED_TEST(NotificationCenterContract, post_severalObservers_eachIsCalledOnceInOrder)
{
    this->center.addObserver("a", this->noting(this->seen, "first"));
    this->center.addObserver("a", this->noting(this->seen, "second"));
    this->center.addObserver("b", this->noting(this->seen, "other"));
    this->center.post("a");
    this->setting.settle();
    EXPECT_THAT(this->seen, ElementsAre("first:a", "second:a"));
}

TYPED_TEST(NotificationCenterContract, post_observerOfAll_getsEveryNameOnceInOrder)
{
    this->center.addObserverOfAll(this->noting(this->seen, "all"));
    std::vector<std::string> named;
    this->center.addObserver("b", this->noting(named, "b"));
    for (const char *name : {"a", "b", "c", ""})
        this->center.post(name);
    this->setting.settle();
    EXPECT_THAT(this->seen, ElementsAre("all:a", "all:b", "all:c", "all:"));
    EXPECT_THAT(named, ElementsAre("b:b"));
}

TYPED_TEST(NotificationCenterContract, removeObserver_last_isNotCalledAnyMore)
{
    const int removed = this->center.addObserver("a", this->noting(this->seen, "removed"));
    this->center.removeObserver(removed);
    this->center.removeObserver(removed);
    this->center.post("a");
    this->setting.settle();
    EXPECT_THAT(this->seen, IsEmpty());
    this->center.addObserver("a", this->noting(this->seen, "again"));
    this->center.post("a");
    this->setting.settle();
    EXPECT_THAT(this->seen, ElementsAre("again:a"));
}

TYPED_TEST(NotificationCenterContract, removeObserver_fromWithinHandlers_takesEffectAtOnce)
{
    int second = 0;
    int first = 0;
    first = this->center.addObserver("a", [&](const Notification &) {
        this->seen.push_back("first");
        this->center.removeObserver(first);
        this->center.removeObserver(second);
    });
    second = this->center.addObserver("a", this->noting(this->seen, "second"));
    this->center.post("a");
    this->center.post("a");
    this->setting.settle();
    EXPECT_THAT(this->seen, ElementsAre("first"));
}

TYPED_TEST(NotificationCenterContract, addObserver_fromWithinAHandler_seesTheNextOnly)
{
    bool isAdded = false;
    this->center.addObserver("a", [&](const Notification &) {
        if (!std::exchange(isAdded, true))
            this->center.addObserver("a", this->noting(this->seen, "late"));
    });
    this->center.post("a");
    this->setting.settle();
    EXPECT_THAT(this->seen, IsEmpty());
    this->center.post("a");
    this->setting.settle();
    EXPECT_THAT(this->seen, ElementsAre("late:a"));
}

TYPED_TEST(NotificationCenterContract, post_stringsAndArrays_arriveAsTheyAre)
{
    const UserInfo info = {{"version", "1.0.0"},
                           {"empty", ""},
                           {"", "empty key"},
                           {"none", std::vector<std::string>{}},
                           {"foldersToAdd", std::vector<std::string>{"/a b", "/\xc3\xa4\xf0\x9f\x98\x80", "", "/a b"}},
                           {"noncharacter", "\xef\xbf\xbe"}};
    EXPECT_THAT(this->sentAndReceived(info), ElementsAre(info));
}

TYPED_TEST(NotificationCenterContract, post_notUtf8_onlyThatStringIsLeftOut)
{
    const UserInfo info = {{"folders", std::vector<std::string>{"/a", "/\xff", "/\xed\xa0\x80", "/b"}},
                           {"zero", std::string("a\0b", 3)},
                           {"cut", "\xc3"},
                           {"over\xc0\x80long", "key"},
                           {"good", "yes"}};
    const UserInfo expected = {{"folders", std::vector<std::string>{"/a", "/b"}}, {"good", "yes"}};
    EXPECT_THAT(this->sentAndReceived(info), ElementsAre(expected));
}

TYPED_TEST(NotificationCenterContract, post_nameNotUtf8OrTooLarge_nothingArrivesAndTheNextDoes)
{
    this->center.addObserverOfAll(this->noting(this->seen, "all"));
    this->center.post("\xff");
    this->center.post("large", {{"text", std::string(1 << 20, 'x')}});
    this->center.post("next", {{"text", std::string(1 << 19, 'x')}});
    this->setting.settle();
    EXPECT_THAT(this->seen, ElementsAre("all:next"));
}

TYPED_TEST(NotificationCenterContract, flush_connected_answersOnceAndNeverFromWithin)
{
    std::vector<bool> answers;
    this->center.flush([&](bool isDone) { answers.push_back(isDone); });
    EXPECT_THAT(answers, IsEmpty());
    this->setting.settle();
    EXPECT_THAT(answers, ElementsAre(true));
}

TYPED_TEST(NotificationCenterContract, bus_diesAndReturns_observersAreCalledAgainAndPostsMeanwhileAreLost)
{
    this->center.addObserver("a", this->noting(this->seen, "one"));
    const int removed = this->center.addObserver("a", this->noting(this->seen, "removed"));
    this->center.addObserverOfAll(this->noting(this->seen, "all"));
    this->setting.settle();
    ASSERT_TRUE(this->center.isConnected());
    this->setting.loseBus();
    EXPECT_FALSE(this->center.isConnected());
    this->center.post("a", {{"lost", "yes"}});
    this->center.removeObserver(removed);
    this->center.addObserver("b", this->noting(this->seen, "made meanwhile"));
    std::vector<bool> answers;
    this->center.flush([&](bool isDone) { answers.push_back(isDone); });
    this->setting.settle();
    EXPECT_THAT(answers, ElementsAre(false));
    for (int times = 0; times < 2; ++times) {
        this->setting.regainBus();
        this->seen.clear();
        this->center.post("b");
        this->center.post("a");
        this->setting.settle();
        EXPECT_THAT(this->seen, ::testing::UnorderedElementsAre("one:a", "all:a", "made meanwhile:b", "all:b"));
        this->setting.loseBus();
    }
}
