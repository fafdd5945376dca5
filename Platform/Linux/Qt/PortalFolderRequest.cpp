#include "Platform/Linux/Qt/PortalFolderRequest.h"

#include <QDBusArgument>
#include <QDBusVariant>
#include <QGuiApplication>
#include <QPointer>
#include <QWidget>

#include <utility>

static const QString kService = QStringLiteral("org.freedesktop.portal.Desktop");
static const QString kPath = QStringLiteral("/org/freedesktop/portal/desktop");
static const QString kInterface = QStringLiteral("org.freedesktop.portal.FileChooser");
static const QString kRequest = QStringLiteral("org.freedesktop.portal.Request");

static constexpr uint kFirstWithFolders = 3; // earlier versions show files whatever they are asked for
static constexpr uint kChosen = 0;
static constexpr int kLongestBeginMs = 25000; // a dialog that comes later would be a second one

/// Empty where the display has no name that another process could use.
static QString handleOf(QWidget *window)
{
    if (!window || QGuiApplication::platformName() != QLatin1String("xcb"))
        return {};
    return QStringLiteral("x11:%1").arg(window->window()->winId(), 0, 16);
}

static QString newToken()
{
    static int s_count = 0;
    return QStringLiteral("tamsel%1").arg(s_count++);
}

PortalFolderRequest::PortalFolderRequest(SessionBus &bus, const FolderChooser::Question &question, QWidget *window,
                                         FolderChooser::Answer answer)
    : m_bus(bus)
    , m_question(question)
    , m_window(handleOf(window))
    , m_answer(std::move(answer))
    , m_token(newToken())
{
    connect(&m_bus, &SessionBus::disconnected, this, [this] { finish(std::vector<std::string>()); });
    m_bus.start();
    QDBusMessage call = QDBusMessage::createMethodCall(
        kService, kPath, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    call.setArguments({kInterface, QStringLiteral("version")});
    m_bus.call(call, [self = QPointer(this)](const QDBusMessage &version) {
        if (self)
            self->begin(version);
    });
}

PortalFolderRequest::~PortalFolderRequest()
{
    if (m_answer && !m_path.isEmpty())
        m_bus.call(QDBusMessage::createMethodCall(m_portal, m_path, kRequest, QStringLiteral("Close")),
                   [](const QDBusMessage &) {});
}

void PortalFolderRequest::begin(const QDBusMessage &version)
{
    const QVariant number = version.arguments().value(0).value<QDBusVariant>().variant();
    if (version.type() != QDBusMessage::ReplyMessage || number.toUInt() < kFirstWithFolders)
        return finish(std::nullopt);
    m_portal = version.service();
    observe();
    QDBusMessage call = QDBusMessage::createMethodCall(kService, kPath, kInterface, QStringLiteral("OpenFile"));
    call.setArguments({m_window, QString::fromStdString(m_question.title), options()});
    m_bus.call(
        call,
        [self = QPointer(this)](const QDBusMessage &reply) {
            if (self && reply.type() != QDBusMessage::ReplyMessage)
                self->finish(std::nullopt);
        },
        kLongestBeginMs);
}

/// The answer may come before that to the call, so its path is worked out beforehand as the portal does it.
void PortalFolderRequest::observe()
{
    QDBusConnection connection = m_bus.connection();
    const QString sender = connection.baseService().mid(1).replace(u'.', u'_');
    m_path = kPath + QStringLiteral("/request/") + sender + u'/' + m_token;
    connection.connect(QString(), m_path, kRequest, QStringLiteral("Response"), this, SLOT(respond(QDBusMessage)));
    SessionBus::connectToBusSignal(connection, QStringLiteral("NameOwnerChanged"), {m_portal}, this,
                                   SLOT(loseOwner(QDBusMessage)));
}

QVariantMap PortalFolderRequest::options() const
{
    const std::string &start = m_question.start.native();
    return {{QStringLiteral("handle_token"), m_token},
            {QStringLiteral("accept_label"), QString::fromStdString(m_question.button)},
            {QStringLiteral("modal"), true},
            {QStringLiteral("multiple"), true},
            {QStringLiteral("directory"), true},
            {QStringLiteral("current_folder"), QByteArray(start.c_str(), qsizetype(start.size()) + 1)}};
}

void PortalFolderRequest::respond(const QDBusMessage &message)
{
    // Anybody can send this.
    if (message.service() != m_portal || message.signature() != QLatin1String("ua{sv}"))
        return;
    std::vector<std::string> urls;
    const QVariantMap results = qdbus_cast<QVariantMap>(message.arguments().at(1));
    if (message.arguments().at(0).toUInt() == kChosen) {
        for (const QString &url : results.value(QStringLiteral("uris")).toStringList())
            urls.push_back(url.toStdString());
    }
    finish(urls);
}

void PortalFolderRequest::loseOwner(const QDBusMessage &message)
{
    if (SessionBus::isFromBus(message))
        finish(std::vector<std::string>());
}

void PortalFolderRequest::finish(const std::optional<std::vector<std::string>> &urls)
{
    if (const FolderChooser::Answer answer = std::exchange(m_answer, nullptr))
        answer(urls);
}
