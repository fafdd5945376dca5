#pragma once

#include "Platform/DistributedNotificationCenter.h"

#include <functional>
#include <optional>
#include <string>

/// Whether it takes more than a mebibyte, which nobody has to send and nobody takes.
bool isTooLarge(const Notification &notification);

/// What of a notification can be broadcast: strings that are UTF-8 without zero bytes. A value, an element of an array
/// or a key that is none is left out, and told to `dropped` in words for the log. Nothing at all is answered when the
/// name is none or when the whole takes more than a mebibyte.
std::optional<Notification> broadcastable(const std::string &name, const UserInfo &userInfo,
                                          const std::function<void(const std::string &)> &dropped);
