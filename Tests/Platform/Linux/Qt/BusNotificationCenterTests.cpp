#include "Platform/Linux/Qt/BusNotificationCenter.h"

#include "Platform/Linux/Qt/BusSubscription.h"
#include "Platform/Linux/Qt/SessionBus.h"
#include "Tests/Support/PrivateBus.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/WaitFor.h"

#include <QDBusMessage>
#include <QDBusVariant>
#include <QElapsedTimer>

#include <gmock/gmock.h>

#include <cstdlib>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

std::vector<std::string> s_warnings;

void keepWarning(QtMsgType, const QMessageLogContext &, const QString &text)
{
    s_warnings.push_back(text.toStdString());
}

/// Another program on the same bus, which sends what it likes.
class Stranger
{
public:
    Stranger() { m_bus.start(); }

    void send(const QVariantList &arguments)
    {
        QDBusMessage signal = QDBusMessage::createSignal(QLatin1String(BusSubscription::kPath),
                                                         QLatin1String(BusSubscription::kInterface),
                                                         QLatin1String(BusSubscription::kMember));
        signal.setArguments(arguments);
        m_bus.connection().send(signal);
    }

private:
    SessionBus m_bus;
};

} // namespace

TEST(BusNotificationCenter, noBusAtConstruction_postsAreLostAndTheBusIsPickedUp)
{
    SessionBus bus;
    BusNotificationCenter center(bus);
    std::vector<std::string> seen;
    center.addObserver("a", [&](const Notification &notification) {
        seen.push_back(std::get<std::string>(notification.userInfo.at("key")));
    });
    center.post("a", {{"key", "lost"}});
    EXPECT_FALSE(center.isConnected());
    std::vector<bool> answers;
    center.flush([&](bool isDone) { answers.push_back(isDone); });
    ASSERT_TRUE(waitFor([&] { return !answers.empty(); }));
    EXPECT_THAT(answers, ElementsAre(false));

    const PrivateBus process;
    ASSERT_TRUE(waitFor([&] { return center.isConnected(); }));
    center.post("a", {{"key", "found"}});
    ASSERT_TRUE(waitFor([&] { return !seen.empty(); }));
    runFor(50);
    EXPECT_THAT(seen, ElementsAre("found"));
}

TEST(BusNotificationCenter, addressOfADeadSocket_isNoBus)
{
    ::setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere/bus", 1);
    SessionBus bus;
    BusNotificationCenter center(bus);
    EXPECT_FALSE(center.isConnected());
    ::setenv("DBUS_SESSION_BUS_ADDRESS", "nonsense", 1);
    SessionBus second;
    EXPECT_FALSE(BusNotificationCenter(second).isConnected());
}

TEST(BusNotificationCenter, noAddress_socketInRuntimeFolderIsTheBus)
{
    const PrivateBus process;
    std::filesystem::create_symlink(process.address().substr(process.address().find('/')),
                                    PrivateHome::current().root() / "run/bus");
    ::unsetenv("DBUS_SESSION_BUS_ADDRESS");
    SessionBus bus;
    BusNotificationCenter center(bus);
    EXPECT_TRUE(waitFor([&] { return center.isConnected(); }));
}

TEST(BusNotificationCenter, busThatNeverAnswers_isNotWaitedFor)
{
    const std::string path = PrivateHome::current().root() / "silent";
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    const int silent = ::socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_EQ(::bind(silent, reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
    ASSERT_EQ(::listen(silent, 5), 0);
    ::setenv("DBUS_SESSION_BUS_ADDRESS", ("unix:path=" + path).c_str(), 1);
    QElapsedTimer elapsed;
    elapsed.start();
    SessionBus bus;
    BusNotificationCenter center(bus);
    center.addObserver("a", [](const Notification &) {});
    center.post("a");
    EXPECT_FALSE(center.isConnected());
    EXPECT_LT(elapsed.elapsed(), 300);
    runFor(200);
    EXPECT_LT(elapsed.elapsed(), 700);
    // Hanging up lets the attempt end, and with it the test.
    ::close(silent);
    runFor(50);
}

TEST(BusNotificationCenter, malformedSignals_areDroppedWithALogLine)
{
    const PrivateBus process;
    SessionBus bus;
    BusNotificationCenter center(bus);
    std::vector<Notification> seen;
    center.addObserver("n", [&](const Notification &notification) { seen.push_back(notification); });
    bool isFlushed = false;
    center.flush([&](bool) { isFlushed = true; });
    ASSERT_TRUE(waitFor([&] { return isFlushed; }));

    const auto previous = qInstallMessageHandler(keepWarning);
    Stranger stranger;
    const QString name = QStringLiteral("n");
    const QString none = QStringLiteral("");
    stranger.send({name});
    stranger.send({name, none});
    stranger.send({name, none, QStringLiteral("no dictionary")});
    stranger.send({name, none, QVariantMap(), 1});
    stranger.send({name, none, QVariantMap{{name, 42}}});
    stranger.send({name, none, QVariantMap{{name, QVariantMap{{name, name}}}}});
    stranger.send({name, none, QVariantMap{{name, QByteArray("bytes")}}});
    stranger.send({name, none, QVariantMap{{name, QVariant::fromValue(QDBusVariant(name))}}});
    stranger.send({name, none, QVariantMap{{QStringLiteral("good"), name}, {name, true}}});
    stranger.send({42, none, QVariantMap()});
    stranger.send({name, QStringLiteral("an object"), QVariantMap{{QStringLiteral("good"), name}}});
    ASSERT_TRUE(waitFor([&] { return !seen.empty(); }));
    runFor(50);
    qInstallMessageHandler(previous);
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(seen[0].userInfo, (UserInfo{{"good", "n"}}));
    EXPECT_EQ(s_warnings.size(), 9u) << ::testing::PrintToString(s_warnings); // the number is no name that matches
}

TEST(BusNotificationCenter, strangersNotification_largerThanAnyOfOurs_isDropped)
{
    const PrivateBus process;
    SessionBus bus;
    BusNotificationCenter center(bus);
    std::vector<Notification> seen;
    center.addObserver("n", [&](const Notification &notification) { seen.push_back(notification); });
    ASSERT_TRUE(waitFor([&] { return center.isConnected(); }));
    Stranger stranger;
    const QString name = QStringLiteral("n"), none = QStringLiteral("");
    const QStringList many(200000, QStringLiteral("/folder"));
    stranger.send({name, none, QVariantMap{{QStringLiteral("foldersToAdd"), many}}});
    stranger.send({name, none, QVariantMap()});
    ASSERT_TRUE(waitFor([&] { return !seen.empty(); }));
    EXPECT_TRUE(seen[0].userInfo.empty());
}

TEST(BusNotificationCenter, post_textThatIsNone_isLogged)
{
    const PrivateBus process;
    SessionBus bus;
    BusNotificationCenter center(bus);
    const auto previous = qInstallMessageHandler(keepWarning);
    center.post("n", {{"folders", std::vector<std::string>{"/a\xff"}}});
    qInstallMessageHandler(previous);
    EXPECT_THAT(s_warnings, ElementsAre("n: dropped an element that is no text: \"/a\\xff\""));
}

TEST(BusNotificationCenter, busDiesWithAFlushUnderWay_theFlushIsAnsweredOnce)
{
    PrivateBus process;
    SessionBus bus;
    BusNotificationCenter center(bus);
    ASSERT_TRUE(center.isConnected());
    std::vector<bool> answers;
    process.kill();
    center.flush([&](bool isDone) { answers.push_back(isDone); });
    ASSERT_TRUE(waitFor([&] { return !answers.empty(); }, 3000));
    runFor(50);
    EXPECT_THAT(answers, ElementsAre(false));
}

TEST(BusNotificationCenter, destroyedBeforeTheAnswer_nothingIsCalled)
{
    const PrivateBus process;
    SessionBus bus;
    bool isCalled = false;
    {
        BusNotificationCenter center(bus);
        center.addObserver("a", [&](const Notification &) { isCalled = true; });
        center.post("a");
        center.flush([&](bool) { isCalled = true; });
    }
    runFor(100);
    EXPECT_FALSE(isCalled);
}
