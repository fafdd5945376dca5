#include "Platform/ApplicationName.h"
#include "Platform/Fake/FakeApplicationName.h"
#include "Platform/Linux/Qt/BusApplicationName.h"
#include "Platform/Linux/Qt/SessionBus.h"
#include "Tests/Support/PrivateBus.h"
#include "Tests/Support/WaitFor.h"

#include <gmock/gmock.h>

#include <optional>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

using Claim = ApplicationName::Claim;

/// Two processes, the second of which can end.
struct OnFake
{
    FakeApplicationName::Registry registry;
    FakeApplicationName first{registry};
    std::optional<FakeApplicationName> second{std::in_place, registry};

    template <class Condition>
    bool until(Condition condition)
    {
        registry.deliver();
        return condition();
    }
    void settle() { registry.deliver(); }
    void endSecond() { second.reset(); }
    void loseBus() { registry.setConnected(false); }
    void regainBus() { registry.setConnected(true); }
};

struct OnBus
{
    PrivateBus bus;
    SessionBus firstBus;
    BusApplicationName first{firstBus};
    std::optional<SessionBus> secondBus{std::in_place};
    std::optional<BusApplicationName> second{std::in_place, *secondBus};

    template <class Condition>
    bool until(Condition condition)
    {
        return waitFor(condition);
    }
    void settle() { runFor(100); }
    void loseBus()
    {
        bus.kill();
        ASSERT_TRUE(waitFor([&] { return !firstBus.isConnected() && !secondBus->isConnected(); }));
    }
    void regainBus()
    {
        bus.start();
        ASSERT_TRUE(waitFor([&] { return firstBus.isConnected() && secondBus->isConnected(); }));
    }
    void endSecond()
    {
        second.reset();
        secondBus.reset();
    }
};

template <class Setting>
class ApplicationNameContract : public ::testing::Test
{
protected:
    std::function<void(Claim)> noting(std::vector<Claim> &answers)
    {
        return [&answers](Claim claim) { answers.push_back(claim); };
    }

    /// The second process owns the name, the first waits for it.
    void claimByBoth()
    {
        second().claim("com.example.one", noting(secondAnswers));
        EXPECT_THAT(secondAnswers, IsEmpty()) << "answered from within";
        ASSERT_TRUE(setting.until([&] { return !secondAnswers.empty(); }));
        first().claim("com.example.one", noting(firstAnswers));
        ASSERT_TRUE(setting.until([&] { return !firstAnswers.empty(); }));
        ASSERT_THAT(secondAnswers, ElementsAre(Claim::Claimed));
        ASSERT_THAT(firstAnswers, ElementsAre(Claim::OwnedByOther));
    }

    std::optional<bool> activate(ApplicationName &process, const std::string &identifier,
                                 const std::vector<std::string> &arguments = {})
    {
        std::optional<bool> answer;
        process.activateOwner(identifier, arguments, [&](bool isAnswered) { answer = isAnswered; });
        EXPECT_FALSE(answer.has_value()) << "answered from within";
        EXPECT_TRUE(setting.until([&] { return answer.has_value(); }));
        return answer;
    }

    ApplicationName &first() { return setting.first; }
    ApplicationName &second() { return *setting.second; }

    Setting setting;
    std::vector<Claim> firstAnswers;
    std::vector<Claim> secondAnswers;
};

using Settings = ::testing::Types<OnFake, OnBus>;
TYPED_TEST_SUITE(ApplicationNameContract, Settings);

} // namespace

TYPED_TEST(ApplicationNameContract, claim_byTwo_oneIsTheOne)
{
    this->claimByBoth();
}

TYPED_TEST(ApplicationNameContract, claim_ofTwoNames_bothAreClaimed)
{
    std::vector<Claim> other;
    this->first().claim("com.example.one", this->noting(this->firstAnswers));
    this->first().claim("com.example.two", this->noting(other));
    ASSERT_TRUE(this->setting.until([&] { return !this->firstAnswers.empty() && !other.empty(); }));
    EXPECT_THAT(this->firstAnswers, ElementsAre(Claim::Claimed));
    EXPECT_THAT(other, ElementsAre(Claim::Claimed));
}

TYPED_TEST(ApplicationNameContract, release_byTheOwner_theWaitingOneGetsTheName)
{
    this->claimByBoth();
    this->second().release("com.example.one");
    ASSERT_TRUE(this->setting.until([&] { return this->firstAnswers.size() > 1; }));
    EXPECT_THAT(this->firstAnswers, ElementsAre(Claim::OwnedByOther, Claim::Claimed));
    this->setting.settle();
    EXPECT_THAT(this->secondAnswers, ElementsAre(Claim::Claimed));
}

TYPED_TEST(ApplicationNameContract, release_byTheWaitingOne_itIsNotCalledAnyMore)
{
    this->claimByBoth();
    this->first().release("com.example.one");
    this->second().release("com.example.one");
    this->setting.settle();
    EXPECT_THAT(this->firstAnswers, ElementsAre(Claim::OwnedByOther));
}

TYPED_TEST(ApplicationNameContract, ownerEnds_theWaitingOneGetsTheName)
{
    this->claimByBoth();
    this->setting.endSecond();
    ASSERT_TRUE(this->setting.until([&] { return this->firstAnswers.size() > 1; }));
    EXPECT_THAT(this->firstAnswers, ElementsAre(Claim::OwnedByOther, Claim::Claimed));
}

TYPED_TEST(ApplicationNameContract, activateOwner_fromAnother_handsOverTheArguments)
{
    this->claimByBoth();
    std::vector<std::vector<std::string>> calls;
    this->second().setActivationHandler([&](const auto &arguments) { calls.push_back(arguments); });
    EXPECT_EQ(this->activate(this->first(), "com.example.one", {"--pane", "/a b/\xc3\xa4"}), true);
    EXPECT_EQ(this->activate(this->first(), "com.example.one"), true);
    EXPECT_THAT(calls, ElementsAre(std::vector<std::string>{"--pane", "/a b/\xc3\xa4"}, std::vector<std::string>{}));
}

TYPED_TEST(ApplicationNameContract, activateOwner_withNobodyToAnswer_saysNo)
{
    EXPECT_EQ(this->activate(this->first(), "com.example.nobody"), false);
    this->claimByBoth();
    EXPECT_EQ(this->activate(this->first(), "com.example.one"), false) << "the owner has no handler";
    this->second().setActivationHandler([](const auto &) { ADD_FAILURE(); });
    EXPECT_EQ(this->activate(this->second(), "com.example.one"), false) << "it is the owner itself";
}

TYPED_TEST(ApplicationNameContract, bus_goesAndReturns_everyChangeIsTold)
{
    this->claimByBoth();
    this->first().release("com.example.one");
    this->setting.loseBus();
    ASSERT_TRUE(this->setting.until([&] { return this->secondAnswers.size() > 1; }));
    EXPECT_EQ(this->activate(this->first(), "com.example.one"), false);
    this->first().claim("com.example.other", this->noting(this->firstAnswers));
    ASSERT_TRUE(this->setting.until([&] { return this->firstAnswers.size() > 1; }));
    this->setting.regainBus();
    ASSERT_TRUE(this->setting.until([&] { return this->secondAnswers.size() > 2 && this->firstAnswers.size() > 2; }));
    EXPECT_THAT(this->secondAnswers, ElementsAre(Claim::Claimed, Claim::NoBus, Claim::Claimed));
    EXPECT_THAT(this->firstAnswers, ElementsAre(Claim::OwnedByOther, Claim::NoBus, Claim::Claimed));
}
