#include "Platform/Linux/Qt/BusSubscription.h"

#include "Platform/NotificationPayload.h"

#include <QDBusArgument>
#include <QDebug>

static constexpr std::size_t kLongestNameInLog = 200;

/// Nothing when a value is neither a string nor an array of strings.
static std::optional<UserInfo> userInfoOf(const QVariantMap &map)
{
    UserInfo userInfo;
    for (auto entry = map.begin(); entry != map.end(); ++entry) {
        auto &value = userInfo[entry.key().toStdString()];
        if (entry->typeId() == QMetaType::QString) {
            value = entry->toString().toStdString();
        } else if (entry->typeId() == QMetaType::QStringList) {
            std::vector<std::string> elements;
            for (const QString &element : entry->toStringList())
                elements.push_back(element.toStdString());
            value = std::move(elements);
        } else {
            return std::nullopt;
        }
    }
    return userInfo;
}

BusSubscription::BusSubscription(std::optional<std::string> name, std::function<void(const Notification &)> handler)
    : m_name(std::move(name))
    , m_handler(std::move(handler))
{
}

void BusSubscription::match(QDBusConnection connection)
{
    if (!connection.isConnected())
        return;
    QStringList firstArgument;
    if (m_name)
        firstArgument.append(QString::fromStdString(*m_name));
    // No signature, so that a signal of another shape is seen and logged instead of being lost in silence.
    if (!connection.connect(QString(), QLatin1String(kPath), QLatin1String(kInterface), QLatin1String(kMember),
                            firstArgument, QString(), this, SLOT(receive(QDBusMessage))))
        qWarning("Cannot observe %s", m_name ? m_name->c_str() : "notifications");
}

void BusSubscription::receive(const QDBusMessage &message)
{
    const QVariantList arguments = message.arguments();
    if (message.signature() != QLatin1String("ssa{sv}") || arguments.size() != 3) {
        qWarning("Notification dropped, its signature is %s", qPrintable(message.signature()));
        return;
    }
    const std::string name = arguments[0].toString().toStdString();
    const auto userInfo = userInfoOf(qdbus_cast<QVariantMap>(arguments[2]));
    if (!userInfo) {
        qWarning("%s dropped, its user information holds what is neither a string nor an array of strings",
                 name.substr(0, kLongestNameInLog).c_str());
        return;
    }
    const Notification notification{name, *userInfo};
    if (isTooLarge(notification)) {
        qWarning("%s dropped, larger than a mebibyte", name.substr(0, kLongestNameInLog).c_str());
        return;
    }
    m_handler(notification);
}
