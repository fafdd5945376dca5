#pragma once

#include "Platform/DistributedNotificationCenter.h"
#include "Platform/ObserverList.h"

#include <deque>
#include <functional>
#include <string>
#include <vector>

/// A notification center without a bus: keeps what was posted, and calls observers when the test says so.
class FakeNotificationCenter final : public DistributedNotificationCenter
{
public:
    void post(const std::string &name, const UserInfo &userInfo = {}) override;
    ObserverId addObserver(const std::string &name, Handler handler) override;
    ObserverId addObserverOfAll(Handler handler) override;
    void removeObserver(ObserverId observer) override;
    bool isConnected() const override { return m_isConnected; }
    void flush(std::function<void(bool)> done) override;

    /// Everything posted so far that a bus would have taken, in order, delivered or not.
    const std::vector<Notification> &posts() const { return m_posts; }

    /// The names of `posts`, for comparing sequences.
    std::vector<std::string> postedNames() const;
    void clearPosts() { m_posts.clear(); }

    /// What was left out of posts, in words.
    const std::vector<std::string> &dropped() const { return m_dropped; }

    /// Calls the observers of what was posted and not yet delivered, and answers flushes, in their order, until
    /// nothing is left, what the handlers post included.
    void deliver();

    /// Calls the observers as for a notification from another process, at once.
    void deliver(const Notification &notification);

    /// As if the bus went away or came: what is posted meanwhile is lost, what was on its way too.
    void setConnected(bool isConnected);

private:
    ObserverList m_observers;
    std::vector<Notification> m_posts;
    std::vector<std::string> m_dropped;
    std::deque<std::function<void()>> m_pending;
    std::deque<std::function<void(bool)>> m_flushes;
    bool m_isConnected = true;
};
