#include "Platform/Linux/Qt/BusApplicationName.h"

#include "Platform/Linux/Qt/SessionBus.h"
#include "Platform/Utf8.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QPointer>

// Answers of RequestName.
static constexpr uint kPrimaryOwner = 1;
static constexpr uint kInQueue = 2;
static constexpr uint kAlreadyOwner = 4;

BusApplicationName::BusApplicationName(SessionBus &bus)
    : m_bus(bus)
{
    connect(&m_bus, &SessionBus::connected, this, &BusApplicationName::setUp);
    connect(&m_bus, &SessionBus::prepared, this, [this] {
        for (const auto &[identifier, entry] : m_claims)
            request(identifier);
    });
    for (const auto signal : {&SessionBus::disconnected, &SessionBus::notFound})
        connect(&m_bus, signal, this, [this] {
            const auto claims = m_claims; // a handler may release its claim
            for (const auto &[identifier, entry] : claims)
                tell(identifier, Claim::NoBus);
        });
    if (m_bus.isConnected())
        setUp();
}

void BusApplicationName::setUp()
{
    QDBusConnection connection = m_bus.connection();
    connection.registerObject(QLatin1String(kPath), this, QDBusConnection::ExportScriptableSlots);
    SessionBus::connectToBusSignal(connection, QStringLiteral("NameAcquired"), {}, this, SLOT(gain(QDBusMessage)));
    SessionBus::connectToBusSignal(connection, QStringLiteral("NameLost"), {}, this, SLOT(lose(QDBusMessage)));
}

void BusApplicationName::claim(const std::string &identifier, std::function<void(Claim)> answered)
{
    m_bus.start();
    m_claims[identifier] = {std::move(answered), ++m_lastNumber, std::nullopt};
    if (m_bus.isConnected()) {
        request(identifier);
        return;
    }
    if (m_bus.isUndecided())
        return;
    QMetaObject::invokeMethod(
        this,
        [this, identifier] {
            if (!m_bus.isConnected())
                tell(identifier, Claim::NoBus);
        },
        Qt::QueuedConnection);
}

void BusApplicationName::request(const std::string &identifier)
{
    // Without a flag: who comes second waits in the bus's queue, and gets the name when the first ends.
    const QVariantList arguments = {QString::fromStdString(identifier), 0u};
    m_bus.call(
        SessionBus::busCall(QStringLiteral("RequestName"), arguments),
        [guard = QPointer(this), this, identifier, number = m_claims.at(identifier).number](const QDBusMessage &reply) {
            if (guard)
                finishRequest(identifier, number, reply);
        });
}

void BusApplicationName::finishRequest(const std::string &identifier, int number, const QDBusMessage &reply)
{
    const auto found = m_claims.find(identifier);
    if (found == m_claims.end() || found->second.number != number)
        return;
    const uint answer = reply.type() == QDBusMessage::ReplyMessage ? reply.arguments().value(0).toUInt() : 0;
    if (answer == kPrimaryOwner || answer == kAlreadyOwner)
        tell(identifier, Claim::Claimed);
    else
        tell(identifier, answer == kInQueue ? Claim::OwnedByOther : Claim::NoBus);
}

void BusApplicationName::release(const std::string &identifier)
{
    if (m_claims.erase(identifier) == 0 || !m_bus.isConnected())
        return;
    m_bus.call(SessionBus::busCall(QStringLiteral("ReleaseName"), {QString::fromStdString(identifier)}),
               [](const QDBusMessage &) {});
}

void BusApplicationName::tell(const std::string &identifier, Claim claim)
{
    const auto found = m_claims.find(identifier);
    if (found == m_claims.end() || found->second.told == claim)
        return;
    found->second.told = claim;
    const auto answered = found->second.answered;
    answered(claim);
}

void BusApplicationName::gain(const QDBusMessage &message)
{
    if (SessionBus::isFromBus(message))
        tell(message.arguments().value(0).toString().toStdString(), Claim::Claimed);
}

void BusApplicationName::lose(const QDBusMessage &message)
{
    if (SessionBus::isFromBus(message))
        tell(message.arguments().value(0).toString().toStdString(), Claim::OwnedByOther);
}

void BusApplicationName::activateOwner(const std::string &identifier, const std::vector<std::string> &arguments,
                                       std::function<void(bool)> done)
{
    m_bus.start();
    const auto found = m_claims.find(identifier);
    const bool isOwn = found != m_claims.end() && found->second.told == Claim::Claimed;
    QStringList list;
    for (const std::string &argument : arguments)
        if (isUtf8(argument) && argument.find('\0') == std::string::npos)
            list.append(QString::fromStdString(argument));
    QDBusMessage message =
        isOwn ? SessionBus::busCall(QStringLiteral("GetId"))
              : QDBusMessage::createMethodCall(QString::fromStdString(identifier), QLatin1String(kPath),
                                               QLatin1String(kInterface), QStringLiteral("Activate"));
    if (!isOwn)
        message.setArguments({list});
    message.setAutoStartService(false);
    m_bus.call(message, [isOwn, guard = QPointer(this), done = std::move(done)](const QDBusMessage &reply) {
        if (guard)
            done(!isOwn && reply.type() == QDBusMessage::ReplyMessage);
    });
}

void BusApplicationName::setActivationHandler(std::function<void(const std::vector<std::string> &)> activated)
{
    m_activated = std::move(activated);
}

void BusApplicationName::Activate(const QStringList &arguments)
{
    if (!m_activated) {
        if (calledFromDBus())
            sendErrorReply(QDBusError::NotSupported, QStringLiteral("Nothing to bring to the front"));
        return;
    }
    std::vector<std::string> list;
    for (const QString &argument : arguments)
        list.push_back(argument.toStdString());
    const auto activated = m_activated;
    activated(list);
}
