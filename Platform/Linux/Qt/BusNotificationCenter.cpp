#include "Platform/Linux/Qt/BusNotificationCenter.h"

#include "Platform/Linux/Qt/BusSubscription.h"
#include "Platform/Linux/Qt/SessionBus.h"
#include "Platform/NotificationPayload.h"

#include <QDebug>
#include <QPointer>

static QStringList listOf(const std::vector<std::string> &elements)
{
    QStringList list;
    for (const std::string &element : elements)
        list.append(QString::fromStdString(element));
    return list;
}

static QVariantMap mapOf(const UserInfo &userInfo)
{
    QVariantMap map;
    for (const auto &[key, value] : userInfo) {
        const auto *const text = std::get_if<std::string>(&value);
        map[QString::fromStdString(key)] = text ? QVariant(QString::fromStdString(*text))
                                                : QVariant(listOf(std::get<std::vector<std::string>>(value)));
    }
    return map;
}

BusNotificationCenter::BusNotificationCenter(SessionBus &bus)
    : m_bus(bus)
{
    QObject::connect(&m_bus, &SessionBus::connected, &m_context, [this] {
        for (const auto &[name, subscription] : m_subscriptions)
            subscription->match(m_bus.connection());
    });
}

BusNotificationCenter::~BusNotificationCenter() = default;

void BusNotificationCenter::post(const std::string &name, const UserInfo &userInfo)
{
    const auto notification =
        broadcastable(name, userInfo, [](const std::string &line) { qWarning("%s", line.c_str()); });
    m_bus.start();
    if (!notification)
        return;
    QDBusMessage signal =
        QDBusMessage::createSignal(QLatin1String(BusSubscription::kPath), QLatin1String(BusSubscription::kInterface),
                                   QLatin1String(BusSubscription::kMember));
    signal.setArguments(
        {QString::fromStdString(notification->name), QString::fromLatin1(""), mapOf(notification->userInfo)});
    m_bus.send(signal);
}

DistributedNotificationCenter::ObserverId BusNotificationCenter::addObserver(const std::string &name, Handler handler)
{
    return add(name, std::move(handler));
}

DistributedNotificationCenter::ObserverId BusNotificationCenter::addObserverOfAll(Handler handler)
{
    return add(std::nullopt, std::move(handler));
}

DistributedNotificationCenter::ObserverId BusNotificationCenter::add(std::optional<std::string> name, Handler handler)
{
    m_bus.start();
    const ObserverId observer = m_observers.add(name, std::move(handler));
    std::unique_ptr<BusSubscription> &subscription = m_subscriptions[name];
    if (!subscription) {
        subscription = std::make_unique<BusSubscription>(
            name, [this, name](const Notification &notification) { m_observers.callObserversOf(name, notification); });
        subscription->match(m_bus.connection());
    }
    return observer;
}

void BusNotificationCenter::removeObserver(ObserverId observer)
{
    const std::optional<std::string> name = m_observers.nameOf(observer);
    if (!m_observers.remove(observer))
        return;
    if (const auto entry = m_subscriptions.extract(name); !entry.empty())
        entry.mapped().release()->deleteLater(); // this may be called from within it
}

bool BusNotificationCenter::isConnected() const
{
    m_bus.start();
    return m_bus.isConnected();
}

void BusNotificationCenter::flush(std::function<void(bool)> done)
{
    m_bus.start();
    // The bus handles what one connection sends in its order: an answer proves that all before it has arrived.
    m_bus.call(SessionBus::busCall(QStringLiteral("GetId")),
               [guard = QPointer<QObject>(&m_context), done = std::move(done)](const QDBusMessage &reply) {
                   if (guard)
                       done(reply.type() == QDBusMessage::ReplyMessage);
               });
}
