#pragma once

#include "Platform/DistributedNotificationCenter.h"
#include "Platform/ObserverList.h"

#include <QObject>

#include <map>
#include <memory>
#include <optional>
#include <string>

class BusSubscription;
class SessionBus;

/// Notifications as signals on the session bus (Docs/Formats/Notifications.md). What is posted while there is no bus is
/// lost; observers are kept, and match again when the bus is back. Main thread.
class BusNotificationCenter final : public DistributedNotificationCenter
{
public:
    /// `bus` must outlive this.
    explicit BusNotificationCenter(SessionBus &bus);
    ~BusNotificationCenter() override;

    void post(const std::string &name, const UserInfo &userInfo = {}) override;
    ObserverId addObserver(const std::string &name, Handler handler) override;
    ObserverId addObserverOfAll(Handler handler) override;
    void removeObserver(ObserverId observer) override;
    bool isConnected() const override;
    void flush(std::function<void(bool)> done) override;

private:
    ObserverId add(std::optional<std::string> name, Handler handler);

    SessionBus &m_bus;
    ObserverList m_observers;
    std::map<std::optional<std::string>, std::unique_ptr<BusSubscription>> m_subscriptions;
    QObject m_context; ///< what waits for the bus ends with this
};
