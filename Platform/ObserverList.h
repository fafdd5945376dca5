#pragma once

#include "Platform/DistributedNotificationCenter.h"

#include <map>
#include <memory>
#include <optional>
#include <string>

/// The observers of a notification center, called in the order in which they were added. A handler may add and remove
/// observers, itself too: one added meanwhile waits for the next notification, one removed is not called any more.
class ObserverList final
{
public:
    using Handler = DistributedNotificationCenter::Handler;
    using ObserverId = DistributedNotificationCenter::ObserverId;

    ObserverId add(std::optional<std::string> name, Handler handler);

    /// Answers whether it was the last one for its name (or of those for every name); false for an unknown one.
    bool remove(ObserverId observer);

    /// The name that it observes, nothing for every name.
    std::optional<std::string> nameOf(ObserverId observer) const;

    void callObserversOf(const std::optional<std::string> &name, const Notification &notification) const;

private:
    struct Observer
    {
        std::optional<std::string> name;
        std::shared_ptr<Handler> handler;
    };

    std::map<ObserverId, Observer> m_observers;
    ObserverId m_last = 0;
};
