#include "Platform/NotificationPayload.h"

#include "Platform/Utf8.h"

#include <algorithm>
#include <cstdio>

static bool isText(const std::string &text)
{
    return text.find('\0') == std::string::npos && isUtf8(text);
}

/// ASCII only, for a line of a log.
static std::string quoted(const std::string &text)
{
    std::string result;
    for (const char c : text.substr(0, 200)) {
        char escaped[5] = {c};
        if (c < ' ' || c > '~')
            std::snprintf(escaped, sizeof escaped, "\\x%02x", unsigned(static_cast<unsigned char>(c)));
        result += escaped;
    }
    return '"' + result + '"';
}

static std::size_t sizeOf(const Notification &notification)
{
    std::size_t size = notification.name.size();
    for (const auto &[key, value] : notification.userInfo) {
        size += key.size();
        if (const auto *text = std::get_if<std::string>(&value))
            size += text->size();
        else
            for (const std::string &element : std::get<std::vector<std::string>>(value))
                size += element.size() + 8; // its length and alignment on the bus
    }
    return size;
}

bool isTooLarge(const Notification &notification)
{
    return sizeOf(notification) > DistributedNotificationCenter::kLargestPost;
}

std::optional<Notification> broadcastable(const std::string &name, const UserInfo &userInfo,
                                          const std::function<void(const std::string &)> &dropped)
{
    if (!isText(name)) {
        dropped("Notification dropped, its name is no text: " + quoted(name));
        return std::nullopt;
    }
    Notification result{name, {}};
    for (const auto &[key, value] : userInfo) {
        const auto *const text = std::get_if<std::string>(&value);
        if (!isText(key) || (text && !isText(*text))) {
            dropped(name + ": dropped an entry that is no text: " + quoted(key) + ' ' + quoted(text ? *text : ""));
            continue;
        }
        auto &kept = result.userInfo[key] = value;
        if (auto *const elements = std::get_if<std::vector<std::string>>(&kept))
            std::erase_if(*elements, [&](const std::string &element) {
                const bool isBad = !isText(element);
                if (isBad)
                    dropped(name + ": dropped an element that is no text: " + quoted(element));
                return isBad;
            });
    }
    if (isTooLarge(result)) {
        dropped(name + ": dropped, larger than a mebibyte");
        return std::nullopt;
    }
    return result;
}
