#include "Platform/Linux/Qt/SessionBus.h"

#include "Platform/Linux/Qt/BusApplicationName.h"
#include "Platform/Linux/Qt/BusNotificationCenter.h"
#include "Tests/Support/PrivateBus.h"
#include "Tests/Support/WaitFor.h"

#include <QProcess>

#include <gmock/gmock.h>

#include <cstdlib>
#include <optional>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Claim = ApplicationName::Claim;

namespace {

/// Every call that reaches the bus, as text.
class Monitor
{
public:
    explicit Monitor(const PrivateBus &bus)
    {
        m_process.start(QStringLiteral("dbus-monitor"),
                        {QStringLiteral("--address"), QString::fromStdString(bus.address()),
                         QStringLiteral("type='method_call',destination='org.freedesktop.DBus'")});
        EXPECT_TRUE(m_process.waitForReadyRead(30000)); // the first thing that it says is that it is there
    }
    ~Monitor()
    {
        m_process.kill();
        m_process.waitForFinished();
    }

    const QString &heard()
    {
        m_heard += QString::fromUtf8(m_process.readAllStandardOutput());
        return m_heard;
    }

private:
    QProcess m_process;
    QString m_heard;
};

} // namespace

TEST(SessionBus, slowAtFirst_whatIsSentMeanwhileGoesOutInItsOrder)
{
    PrivateBus process;
    process.freeze();
    SessionBus bus;
    BusNotificationCenter center(bus);
    std::vector<std::string> seen;
    const auto note = [&](const Notification &notification) { seen.push_back(notification.name); };
    center.addObserver("a", note);
    center.addObserver("b", note);
    center.post("a");
    std::optional<bool> answer;
    center.flush([&](bool isDone) { answer = isDone; });
    center.post("b");
    ASSERT_FALSE(center.isConnected());
    runFor(50);
    EXPECT_FALSE(answer.has_value()) << "nobody knows yet whether there is a bus";
    process.thaw();
    ASSERT_TRUE(waitFor([&] { return seen.size() == 2 && answer.has_value(); }));
    EXPECT_EQ(answer, true);
    EXPECT_THAT(seen, ElementsAre("a", "b"));
}

TEST(SessionBus, slowAtFirst_aClaimIsAnsweredOnce)
{
    PrivateBus process;
    process.freeze();
    SessionBus bus;
    BusApplicationName name(bus);
    std::vector<Claim> answers;
    name.claim("com.example.one", [&](Claim claim) { answers.push_back(claim); });
    runFor(50);
    EXPECT_THAT(answers, IsEmpty());
    process.thaw();
    ASSERT_TRUE(waitFor([&] { return !answers.empty(); }));
    EXPECT_THAT(answers, ElementsAre(Claim::Claimed));
}

TEST(SessionBus, neverAnswers_aCallFailsAfterItsTime)
{
    PrivateBus process;
    process.freeze();
    SessionBus bus;
    bus.start();
    std::optional<QDBusMessage> reply;
    bus.call(
        SessionBus::busCall(QStringLiteral("GetId")), [&](const QDBusMessage &message) { reply = message; }, 50);
    EXPECT_FALSE(reply.has_value());
    ASSERT_TRUE(waitFor([&] { return reply.has_value(); }));
    EXPECT_EQ(reply->type(), QDBusMessage::ErrorMessage);
    process.kill();
    runFor(50);
}

TEST(SessionBus, diesAtFirst_whatWaitedFailsAndNoBusIsTold)
{
    PrivateBus process;
    process.freeze();
    SessionBus bus;
    BusNotificationCenter center(bus);
    BusApplicationName name(bus);
    std::vector<Claim> answers;
    name.claim("com.example.one", [&](Claim claim) { answers.push_back(claim); });
    std::optional<bool> isFlushed;
    center.flush([&](bool isDone) { isFlushed = isDone; });
    process.kill();
    ASSERT_TRUE(waitFor([&] { return isFlushed.has_value() && !answers.empty(); }));
    EXPECT_EQ(isFlushed, false);
    EXPECT_THAT(answers, ElementsAre(Claim::NoBus));
}

TEST(SessionBus, returns_observersMatchBeforeAnyNameIsTaken)
{
    PrivateBus process;
    SessionBus bus;
    BusApplicationName name(bus); // the order in which they were made says nothing
    BusNotificationCenter center(bus);
    std::vector<Claim> answers;
    name.claim("com.example.one", [&](Claim claim) { answers.push_back(claim); });
    center.addObserver("com.example.notification", [](const Notification &) {});
    ASSERT_TRUE(waitFor([&] { return answers.size() == 1; }));
    process.kill();
    ASSERT_TRUE(waitFor([&] { return answers.size() == 2; }));
    process.start();
    Monitor monitor(process); // nothing is connected meanwhile, since that is begun by the event loop
    ASSERT_TRUE(waitFor([&] { return answers.size() == 3; }));
    EXPECT_THAT(answers, ElementsAre(Claim::Claimed, Claim::NoBus, Claim::Claimed));
    ASSERT_TRUE(waitFor([&] { return monitor.heard().contains(QStringLiteral("com.example.one")); }));
    EXPECT_TRUE(waitFor([&] { return monitor.heard().contains(QStringLiteral("com.example.notification")); }));
    EXPECT_LT(monitor.heard().indexOf(QStringLiteral("com.example.notification")),
              monitor.heard().indexOf(QStringLiteral("com.example.one")))
        << monitor.heard().toStdString();
}
