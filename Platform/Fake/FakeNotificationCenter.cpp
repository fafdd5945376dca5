#include "Platform/Fake/FakeNotificationCenter.h"

#include "Platform/NotificationPayload.h"

void FakeNotificationCenter::post(const std::string &name, const UserInfo &userInfo)
{
    if (!m_isConnected)
        return;
    const auto notification =
        broadcastable(name, userInfo, [this](const std::string &line) { m_dropped.push_back(line); });
    if (!notification)
        return;
    m_posts.push_back(*notification);
    m_pending.push_back([this, sent = *notification] { deliver(sent); });
}

DistributedNotificationCenter::ObserverId FakeNotificationCenter::addObserver(const std::string &name, Handler handler)
{
    return m_observers.add(name, std::move(handler));
}

DistributedNotificationCenter::ObserverId FakeNotificationCenter::addObserverOfAll(Handler handler)
{
    return m_observers.add(std::nullopt, std::move(handler));
}

void FakeNotificationCenter::removeObserver(ObserverId observer)
{
    m_observers.remove(observer);
}

void FakeNotificationCenter::flush(std::function<void(bool)> done)
{
    m_flushes.push_back(std::move(done));
    m_pending.push_back([this] {
        const auto next = std::move(m_flushes.front());
        m_flushes.pop_front();
        next(m_isConnected);
    });
}

std::vector<std::string> FakeNotificationCenter::postedNames() const
{
    std::vector<std::string> names;
    for (const Notification &notification : m_posts)
        names.push_back(notification.name);
    return names;
}

void FakeNotificationCenter::deliver()
{
    while (!m_pending.empty()) {
        const auto next = std::move(m_pending.front());
        m_pending.pop_front();
        next();
    }
}

void FakeNotificationCenter::deliver(const Notification &notification)
{
    m_observers.callObserversOf(notification.name, notification);
    m_observers.callObserversOf(std::nullopt, notification);
}

void FakeNotificationCenter::setConnected(bool isConnected)
{
    m_isConnected = isConnected;
    m_pending.clear();
    for (auto flushes = std::move(m_flushes); const auto &done : flushes)
        done(false);
    m_flushes.clear();
}
