#include "Platform/Linux/Qt/BusNameWatch.h"

#include "Platform/Linux/Qt/SessionBus.h"

#include <QPointer>

#include <utility>

BusNameWatch::BusNameWatch(SessionBus &bus, const QString &name)
    : m_bus(bus)
    , m_name(name)
{
    connect(&m_bus, &SessionBus::connected, this, &BusNameWatch::watch);
    connect(&m_bus, &SessionBus::disconnected, this, [this] { setOwned(false); });
    m_bus.start();
    if (m_bus.isConnected())
        watch();
}

void BusNameWatch::watch()
{
    SessionBus::connectToBusSignal(m_bus.connection(), QStringLiteral("NameOwnerChanged"), {m_name}, this,
                                   SLOT(changeOwner(QDBusMessage)));
    m_bus.call(SessionBus::busCall(QStringLiteral("NameHasOwner"), {m_name}),
               [guard = QPointer(this), this, changes = m_changes](const QDBusMessage &reply) {
                   if (guard && changes == m_changes && reply.type() == QDBusMessage::ReplyMessage)
                       setOwned(reply.arguments().value(0).toBool());
               });
}

void BusNameWatch::changeOwner(const QDBusMessage &message)
{
    if (!SessionBus::isFromBus(message))
        return;
    ++m_changes;
    const QString newOwner = message.arguments().value(2).toString();
    if (newOwner.isEmpty())
        Q_EMIT released();
    setOwned(!newOwner.isEmpty());
}

void BusNameWatch::setOwned(bool isOwned)
{
    if (std::exchange(m_isOwned, isOwned) != isOwned)
        Q_EMIT changed();
}
