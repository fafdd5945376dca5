#include "Platform/FolderChooser.h"

#include "Platform/Linux/Qt/PortalFolderChooser.h"
#include "Tests/Support/PrivateBus.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/WaitFor.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusError>
#include <QDBusObjectPath>

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Optional;

/// What a portal makes for each dialog.
class Request : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Request")

public:
    bool isClosed = false;

public Q_SLOTS:
    void Close() { isClosed = true; }
};

/// A portal whose user is the test.
class Portal : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.FileChooser")
    Q_PROPERTY(uint version MEMBER version)

public:
    explicit Portal(const PrivateBus &bus)
        : connection(QDBusConnection::connectToBus(QString::fromStdString(bus.address()), kName))
    {
        connection.registerObject(QStringLiteral("/org/freedesktop/portal/desktop"), this,
                                  QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllProperties);
        connection.registerService(QStringLiteral("org.freedesktop.portal.Desktop"));
    }
    ~Portal() override { QDBusConnection::disconnectFromBus(kName); }

    /// The answer to the dialog, sent by whoever owns `from`.
    void respond(QDBusConnection from, uint code, const QStringList &urls) const
    {
        QDBusMessage signal = QDBusMessage::createSignal(path, QStringLiteral("org.freedesktop.portal.Request"),
                                                         QStringLiteral("Response"));
        signal.setArguments({code, QVariantMap{{QStringLiteral("uris"), urls}}});
        from.send(signal);
    }
    void respond(uint code, const QStringList &urls = {}) const { respond(connection, code, urls); }

    static inline const QString kName = QStringLiteral("portal");
    QDBusConnection connection;
    uint version = 3;
    bool refuses = false;
    QString window, title, path;
    QVariantMap options;
    Request request;

public Q_SLOTS:
    QDBusObjectPath OpenFile(const QString &parent, const QString &heading, const QVariantMap &wishes)
    {
        if (refuses)
            sendErrorReply(QDBusError::Failed);
        window = parent;
        title = heading;
        options = wishes;
        path = QStringLiteral("/org/freedesktop/portal/desktop/request/") +
               message().service().mid(1).replace(u'.', u'_') + u'/' +
               wishes.value(QStringLiteral("handle_token")).toString();
        connection.registerObject(path, &request, QDBusConnection::ExportAllSlots);
        return QDBusObjectPath(path);
    }
};

namespace {

class PortalFolderChooserTest : public ::testing::Test
{
protected:
    void choose()
    {
        dialog = chooser.choose({"Watch folders", "Add", "/home/ann"}, nullptr, [this](const auto &urls) {
            answer = urls;
            ++answers;
        });
        EXPECT_EQ(answers, 0) << "called from within choose";
    }
    bool waitForAnswer()
    {
        return waitFor([this] { return answers > 0; });
    }
    /// Asks and waits until the user sees the dialog and the chooser knows.
    bool choose(const Portal &portal)
    {
        choose();
        if (!waitFor([&] { return !portal.path.isEmpty(); }))
            return false;
        bool hasAnswered = false; // after its answer to the chooser
        session.call(QDBusMessage::createMethodCall(portal.connection.baseService(), QStringLiteral("/"),
                                                    QStringLiteral("org.freedesktop.DBus.Peer"),
                                                    QStringLiteral("Ping")),
                     [&](const QDBusMessage &) { hasAnswered = true; });
        return waitFor([&] { return hasAnswered; });
    }

    PrivateBus bus;
    SessionBus session;
    PortalFolderChooser chooser{session};
    std::unique_ptr<QObject> dialog;
    std::optional<std::vector<std::string>> answer;
    int answers = 0;
};

} // namespace

TEST_F(PortalFolderChooserTest, choose_asksForSeveralFoldersFromTheFirstOn)
{
    Portal portal(bus);
    ASSERT_TRUE(choose(portal));
    EXPECT_EQ(portal.title, QStringLiteral("Watch folders"));
    EXPECT_EQ(portal.window, QString()) << "no display, no handle";
    const auto option = [&](const char *name) { return portal.options.value(QString::fromLatin1(name)); };
    EXPECT_TRUE(option("directory").toBool());
    EXPECT_TRUE(option("multiple").toBool());
    EXPECT_TRUE(option("modal").toBool());
    EXPECT_EQ(option("accept_label").toString(), QStringLiteral("Add"));
    EXPECT_EQ(option("current_folder").toByteArray(), QByteArray("/home/ann", 10)) << "with the zero at its end";
}

TEST_F(PortalFolderChooserTest, chosenFolders_areTheAnswer)
{
    Portal portal(bus);
    ASSERT_TRUE(choose(portal));
    portal.respond(0, {QStringLiteral("file:///a%20b"), QStringLiteral("file:///c%FF")});
    ASSERT_TRUE(waitForAnswer());
    EXPECT_THAT(answer, Optional(ElementsAre("file:///a%20b", "file:///c%FF")));
}

TEST_F(PortalFolderChooserTest, cancelled_isNoFolder)
{
    Portal portal(bus);
    for (const uint code : {1U, 2U}) {
        answers = 0;
        portal.path.clear();
        ASSERT_TRUE(choose(portal));
        portal.respond(code, {QStringLiteral("file:///a")});
        ASSERT_TRUE(waitForAnswer());
        EXPECT_THAT(answer, Optional(IsEmpty()));
    }
}

TEST_F(PortalFolderChooserTest, noPortal_isNoDialog)
{
    choose();
    ASSERT_TRUE(waitForAnswer());
    EXPECT_EQ(answer, std::nullopt);
}

/// So that a test sees the same dialog wherever it runs.
TEST(PortalFolderChooser, portalOfTheMachine_isNotStartedOnTheBusOfATest)
{
    const std::string started = PrivateHome::current().makeFolder("portal") / "started";
    const std::string services = PrivateHome::current().home() / ".local/share/dbus-1/services";
    std::filesystem::create_directories(services);
    std::ofstream(services + "/org.freedesktop.portal.Desktop.service")
        << "[D-BUS Service]\nName=org.freedesktop.portal.Desktop\nExec=/usr/bin/touch " << started << '\n';
    const PrivateBus bus;
    SessionBus session;
    PortalFolderChooser chooser(session);
    bool hasDialog = true;
    bool isAnswered = false;
    const auto dialog = chooser.choose({}, nullptr, [&](const auto &urls) {
        hasDialog = urls.has_value();
        isAnswered = true;
    });
    EXPECT_TRUE(waitFor([&] { return isAnswered; }));
    EXPECT_FALSE(hasDialog);
    EXPECT_FALSE(std::filesystem::exists(started));
}

TEST_F(PortalFolderChooserTest, portalThatKnowsNoFolders_isNotAsked)
{
    Portal portal(bus);
    portal.version = 2;
    choose();
    ASSERT_TRUE(waitForAnswer());
    EXPECT_EQ(answer, std::nullopt);
    EXPECT_EQ(portal.path, QString());
}

TEST_F(PortalFolderChooserTest, portalThatRefuses_isNoDialog)
{
    Portal portal(bus);
    portal.refuses = true;
    choose();
    ASSERT_TRUE(waitForAnswer());
    EXPECT_EQ(answer, std::nullopt);
}

TEST_F(PortalFolderChooserTest, portalThatEndsWithItsDialog_hasCancelledIt)
{
    {
        Portal portal(bus);
        ASSERT_TRUE(choose(portal));
    }
    ASSERT_TRUE(waitForAnswer());
    EXPECT_THAT(answer, Optional(IsEmpty()));
}

TEST_F(PortalFolderChooserTest, busThatEndsWithTheDialog_hasCancelledIt)
{
    Portal portal(bus);
    ASSERT_TRUE(choose(portal));
    bus.kill();
    ASSERT_TRUE(waitForAnswer());
    EXPECT_THAT(answer, Optional(IsEmpty()));
}

TEST_F(PortalFolderChooserTest, busThatIsNotThere_isNoDialog)
{
    bus.kill();
    choose();
    ASSERT_TRUE(waitForAnswer());
    EXPECT_EQ(answer, std::nullopt);
}

TEST_F(PortalFolderChooserTest, stranger_isNotBelieved)
{
    Portal portal(bus);
    ASSERT_TRUE(choose(portal));
    const QDBusConnection stranger =
        QDBusConnection::connectToBus(QString::fromStdString(bus.address()), QStringLiteral("stranger"));
    portal.respond(stranger, 0, {QStringLiteral("file:///stranger")});
    runFor(100);
    EXPECT_EQ(answers, 0);
    portal.respond(0, {QStringLiteral("file:///user")});
    ASSERT_TRUE(waitForAnswer());
    EXPECT_THAT(answer, Optional(ElementsAre("file:///user")));
    QDBusConnection::disconnectFromBus(QStringLiteral("stranger"));
}

TEST_F(PortalFolderChooserTest, dialogThatIsNotWantedAnyMore_isClosed)
{
    Portal portal(bus);
    ASSERT_TRUE(choose(portal));
    dialog.reset();
    EXPECT_TRUE(waitFor([&] { return portal.request.isClosed; }));
    EXPECT_EQ(answers, 0);
}

#include "FolderChooserTests.moc"
