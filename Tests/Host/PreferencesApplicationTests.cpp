#include "Host/PreferencesApplication.h"

#include "Platform/Fake/FakeNotificationCenter.h"
#include "Platform/HostApplication.h"
#include "Platform/Services.h"
#include "Tests/Support/PrivateHome.h"

#include <QElapsedTimer>
#include <QTimer>

#include <gmock/gmock.h>

#include <string>
#include <vector>

using ::testing::ElementsAre;

namespace {

/// A center that notes what it is asked and, if so made, never answers a flush.
class Center final : public DistributedNotificationCenter
{
public:
    explicit Center(bool answers)
        : m_answers(answers)
    {
    }

    void post(const std::string &name, const UserInfo &) override { calls.push_back(name); }
    ObserverId addObserver(const std::string &, Handler) override { return 0; }
    ObserverId addObserverOfAll(Handler) override { return 0; }
    void removeObserver(ObserverId) override {}
    bool isConnected() const override { return m_answers; }
    void flush(std::function<void(bool)> done) override
    {
        calls.push_back("flush");
        if (m_answers)
            QTimer::singleShot(20, [this, done] {
                calls.push_back("flushed");
                done(true);
            });
    }

    std::vector<std::string> calls;

private:
    bool m_answers;
};

PreferencesApplication &application()
{
    return *static_cast<PreferencesApplication *>(qApp);
}

} // namespace

TEST(PreferencesApplication, quit_preparesThenFlushesThenEnds)
{
    Center center(true);
    const Override<DistributedNotificationCenter> override(center);
    application().setPrepareToEnd([&] {
        center.post("prepare", {});
        // What the end of a window puts off still comes before the flush.
        QTimer::singleShot(0, [&] { center.post("late", {}); });
    });
    QTimer::singleShot(0, [] {
        QCoreApplication::quit();
        QCoreApplication::quit();
    });
    QCoreApplication::exec();
    EXPECT_THAT(center.calls, ElementsAre("prepare", "late", "flush", "flushed"));
}

TEST(PreferencesApplication, terminate_takesTheSameWay)
{
    Center center(true);
    const Override<DistributedNotificationCenter> override(center);
    application().setPrepareToEnd([&] { center.post("prepare", {}); });
    QTimer::singleShot(0, [] { HostApplication::current().terminate(); });
    QCoreApplication::exec();
    EXPECT_THAT(center.calls, ElementsAre("prepare", "flush", "flushed"));
}

TEST(PreferencesApplication, quit_busNeverAnswers_endsAllTheSame)
{
    Center center(false);
    const Override<DistributedNotificationCenter> override(center);
    QElapsedTimer elapsed;
    elapsed.start();
    QTimer::singleShot(0, [] { QCoreApplication::quit(); });
    QCoreApplication::exec();
    EXPECT_GE(elapsed.elapsed(), 900) << "it was given no time";
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
