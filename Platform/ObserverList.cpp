#include "Platform/ObserverList.h"

#include <algorithm>
#include <vector>

ObserverList::ObserverId ObserverList::add(std::optional<std::string> name, Handler handler)
{
    m_observers[++m_last] = {std::move(name), std::make_shared<Handler>(std::move(handler))};
    return m_last;
}

bool ObserverList::remove(ObserverId observer)
{
    const auto found = m_observers.find(observer);
    if (found == m_observers.end())
        return false;
    const std::optional<std::string> name = found->second.name;
    m_observers.erase(found);
    return std::none_of(m_observers.begin(), m_observers.end(),
                        [&](const auto &entry) { return entry.second.name == name; });
}

std::optional<std::string> ObserverList::nameOf(ObserverId observer) const
{
    const auto found = m_observers.find(observer);
    return found == m_observers.end() ? std::nullopt : found->second.name;
}

void ObserverList::callObserversOf(const std::optional<std::string> &name, const Notification &notification) const
{
    std::vector<ObserverId> observers;
    for (const auto &[id, observer] : m_observers)
        if (observer.name == name)
            observers.push_back(id);
    for (const ObserverId id : observers) {
        const auto found = m_observers.find(id);
        if (found == m_observers.end())
            continue;
        const std::shared_ptr<Handler> handler = found->second.handler; // it may remove itself
        (*handler)(notification);
    }
}
