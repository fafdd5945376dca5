#pragma once

#include "Platform/Service.h"

#include <functional>
#include <map>
#include <string>
#include <variant>
#include <vector>

/// What a notification carries: strings and arrays of strings, UTF-8.
using UserInfo = std::map<std::string, std::variant<std::string, std::vector<std::string>>>;

struct Notification
{
    std::string name;
    UserInfo userInfo;
};

/// Broadcasts named notifications between the processes of one user. Nothing waits, nothing is acknowledged, and a
/// notification is a hint from any process of the user: state is re-read from disk. Main thread.
class DistributedNotificationCenter : public Service<DistributedNotificationCenter>
{
public:
    using Handler = std::function<void(const Notification &)>;
    using ObserverId = int;

    /// In bytes: the name, keys and texts, and eight more for each element of an array.
    static constexpr std::size_t kLargestPost = 1 << 20;

    /// Posts with no object. Lost when nobody listens or there is no bus, or when it is larger than `kLargestPost`.
    virtual void post(const std::string &name, const UserInfo &userInfo = {}) = 0;

    /// Calls `handler` on the main thread for each notification of that name from any sender, this process included.
    virtual ObserverId addObserver(const std::string &name, Handler handler) = 0;

    /// Observes every name; for tools that listen.
    virtual ObserverId addObserverOfAll(Handler handler) = 0;
    virtual void removeObserver(ObserverId observer) = 0;

    /// Whether posts reach anybody now.
    virtual bool isConnected() const = 0;

    /// Calls `done` on the main thread once all that was posted and all observers added before have reached the bus,
    /// with false when there is none.
    virtual void flush(std::function<void(bool)> done) = 0;
};
