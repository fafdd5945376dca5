#include "Host/HostSession.h"

#include "Host/PreferencesApplication.h"
#include "Platform/HostApplication.h"
#include "Platform/Services.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/WaitFor.h"

#include <QTimer>

#include <gmock/gmock.h>

using ::testing::ElementsAre;

namespace {

/// A name whose owner and whose answers a test decides.
class Name final : public ApplicationName
{
public:
    void claim(const std::string &, std::function<void(Claim)> handler) override { answered = std::move(handler); }
    void release(const std::string &) override { ++releases; }
    void activateOwner(const std::string &, const std::vector<std::string> &arguments,
                       std::function<void(bool)> done) override
    {
        sent = arguments;
        ++handOvers;
        QTimer::singleShot(0, qApp, [done, this] { done(ownerAnswers); });
    }
    void setActivationHandler(std::function<void(const std::vector<std::string> &)>) override {}

    std::function<void(Claim)> answered;
    std::vector<std::string> sent;
    bool ownerAnswers = true;
    int handOvers = 0;
    int releases = 0;
};

class HostSessionTest : public ::testing::Test
{
protected:
    void start() { session.start(); }
    static bool isOpen() { return HostApplication::current().mainWindow() != nullptr; }

    /// Runs the event loop; answers whether the session has asked the application to quit meanwhile.
    bool quitsWithin(int durationMs)
    {
        bool isTimeout = false;
        QTimer::singleShot(durationMs, application(), [&isTimeout] {
            isTimeout = true;
            QCoreApplication::exit(0);
        });
        QCoreApplication::exec();
        return !isTimeout;
    }

    static PreferencesApplication *application() { return static_cast<PreferencesApplication *>(qApp); }

    Name name;
    Override<ApplicationName> override{name};
    HostSession session{*application(), {"/a/B.prefPane", Appearance::Light}};
};

} // namespace

TEST_F(HostSessionTest, start_nameIsClaimed_opens)
{
    start();
    EXPECT_FALSE(isOpen());
    name.answered(ApplicationName::Claim::Claimed);
    EXPECT_TRUE(isOpen());
}

TEST_F(HostSessionTest, start_nobodyAnswers_opensAllTheSame)
{
    start();
    EXPECT_TRUE(waitFor([] { return isOpen(); }));
}

TEST_F(HostSessionTest, start_anotherRuns_handsOverAndEndsWithoutAWindow)
{
    start();
    name.answered(ApplicationName::Claim::OwnedByOther);
    EXPECT_TRUE(quitsWithin(10000));
    EXPECT_FALSE(isOpen());
    EXPECT_THAT(name.sent, ElementsAre("--pane", "/a/B.prefPane"));
}

TEST_F(HostSessionTest, start_anotherRunsButDoesNotAnswer_opens)
{
    name.ownerAnswers = false;
    start();
    name.answered(ApplicationName::Claim::OwnedByOther);
    EXPECT_TRUE(waitFor([] { return isOpen(); }));
}

TEST_F(HostSessionTest, anotherShowsUpLate_isHandedOverTo)
{
    start();
    ASSERT_TRUE(waitFor([] { return isOpen(); }));
    name.answered(ApplicationName::Claim::OwnedByOther);
    EXPECT_TRUE(quitsWithin(10000));
    EXPECT_EQ(name.handOvers, 1);
}

TEST_F(HostSessionTest, anotherShowsUpMuchLater_leavesTheWindow)
{
    start();
    name.answered(ApplicationName::Claim::NoBus);
    runFor(5100);
    name.answered(ApplicationName::Claim::OwnedByOther);
    EXPECT_EQ(name.handOvers, 0);
    EXPECT_TRUE(isOpen());
}

TEST_F(HostSessionTest, quit_givesUpTheName)
{
    start();
    name.answered(ApplicationName::Claim::Claimed);
    QTimer::singleShot(0, [] { QCoreApplication::quit(); });
    EXPECT_TRUE(quitsWithin(10000));
    EXPECT_EQ(name.releases, 1);
}

int main(int argc, char **argv)
{
    ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    const PrivateHome home;
    PreferencesApplication application(argc, argv);
    installEngineServices();
    installPaneServices();
    ::testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
