#pragma once

#include "Platform/DistributedNotificationCenter.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>

#include <functional>
#include <optional>
#include <string>

/// One match rule on the bus: the notifications of one name, or all of them. Main thread.
class BusSubscription final : public QObject
{
    Q_OBJECT

public:
    static constexpr const char *kPath = "/com/dovrane/DistributedNotificationCenter";
    static constexpr const char *kInterface = "com.dovrane.DistributedNotificationCenter";
    static constexpr const char *kMember = "Notification";

    BusSubscription(std::optional<std::string> name, std::function<void(const Notification &)> handler);

    /// Asks for the signals; to be called again on each new connection. Nothing happens without one.
    void match(QDBusConnection connection);

private Q_SLOTS:
    void receive(const QDBusMessage &message);

private:
    std::optional<std::string> m_name;
    std::function<void(const Notification &)> m_handler;
};
