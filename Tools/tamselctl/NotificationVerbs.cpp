#include "Tools/tamselctl/Verbs.h"

#include "Platform/DistributedNotificationCenter.h"
#include "Platform/Utf8.h"
#include "Tools/tamselctl/Invocation.h"
#include "Tools/tamselctl/RunningPrograms.h"

#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>

#include <chrono>
#include <limits>

static constexpr char kNoBus[] = "there is no session bus";
static constexpr std::uint64_t kEndless = std::numeric_limits<std::uint64_t>::max();

/// Adds the word KEY=VALUE or KEY+=ELEMENT. Answers what is wrong with it, empty when nothing is.
static std::string addWord(UserInfo &userInfo, const std::string &word)
{
    const std::size_t equals = word.find('=');
    if (equals == std::string::npos)
        return "neither KEY=VALUE nor KEY+=ELEMENT: " + word;
    const bool isElement = equals > 0 && word[equals - 1] == '+';
    const std::string key = word.substr(0, isElement ? equals - 1 : equals);
    const std::string value = word.substr(equals + 1);
    if (key.empty())
        return "no key before the equals sign: " + word;
    if (!isUtf8(word))
        return "not UTF-8: " + word;
    const auto found = userInfo.find(key);
    if (!isElement) {
        if (found != userInfo.end())
            return "the key is given twice: " + key;
        userInfo[key] = value;
        return {};
    }
    if (found == userInfo.end()) {
        userInfo[key] = std::vector<std::string>{value};
        return {};
    }
    auto *elements = std::get_if<std::vector<std::string>>(&found->second);
    if (!elements)
        return "the key is given as a string and as an array: " + key;
    elements->push_back(value);
    return {};
}

ExitCode postNotification(Invocation &invocation)
{
    const std::string name = invocation.operands.front();
    if (name.empty() || !isUtf8(name))
        return invocation.refuse("no name of a notification: \"" + name + "\"");
    UserInfo userInfo;
    for (std::size_t index = 1; index < invocation.operands.size(); ++index) {
        const std::string fault = addWord(userInfo, invocation.operands[index]);
        if (!fault.empty())
            return invocation.refuse(fault);
    }
    auto &center = DistributedNotificationCenter::current();
    center.post(name, userInfo);
    return flush(center) ? ExitCode::Done : invocation.fail(kNoBus);
}

static Record recordOf(const Notification &notification)
{
    Record userInfo;
    for (const auto &[key, value] : notification.userInfo)
        std::visit([&userInfo, &key = key](const auto &content) { userInfo.add(key, content); }, value);
    return Record().add("name", notification.name).add("userInfo", std::move(userInfo));
}

static std::string lineOf(const Notification &notification)
{
    std::string line = notification.name;
    for (const auto &[key, value] : notification.userInfo) {
        if (const auto *text = std::get_if<std::string>(&value)) {
            line += " " + key + "=" + *text;
            continue;
        }
        for (const std::string &element : std::get<std::vector<std::string>>(value))
            line += " " + key + "+=" + element;
    }
    return line + "\n";
}

static ExitCode listen(Invocation &invocation, std::uint64_t count, QDeadlineTimer deadline)
{
    auto &center = DistributedNotificationCenter::current();
    QEventLoop loop;
    std::uint64_t heard = 0;
    const auto observer = center.addObserverOfAll([&](const Notification &notification) {
        if (heard == count)
            return;
        invocation.print(recordOf(notification), lineOf(notification));
        if (++heard == count)
            loop.quit();
    });
    const bool isConnected = flush(center);
    if (isConnected) {
        invocation.note("listening");
        if (!deadline.isForever())
            QTimer::singleShot(int(deadline.remainingTime()), Qt::PreciseTimer, &loop, &QEventLoop::quit);
        if (heard < count)
            loop.exec();
    }
    center.removeObserver(observer);
    if (!isConnected)
        return invocation.fail(kNoBus);
    const bool isAll = heard == count || count == kEndless;
    return isAll ? ExitCode::Done
                 : invocation.fail("heard " + std::to_string(heard) + " of " + std::to_string(count) + " in time");
}

ExitCode listenToNotifications(Invocation &invocation)
{
    const auto count = invocation.number("--count");
    if (invocation.options.contains("--count") && count.value_or(0) == 0)
        return invocation.refuse("--count takes a number from 1 up");
    const auto timeout = invocation.number("--timeout");
    constexpr std::uint64_t kLongest = 2'000'000;
    if (invocation.options.contains("--timeout") && (!timeout || *timeout > kLongest))
        return invocation.refuse("--timeout takes seconds from 0 to " + std::to_string(kLongest));
    const QDeadlineTimer deadline =
        timeout ? QDeadlineTimer(std::chrono::seconds(*timeout)) : QDeadlineTimer(QDeadlineTimer::Forever);
    return listen(invocation, count.value_or(kEndless), deadline);
}
