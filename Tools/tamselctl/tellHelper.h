#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

/// Starts the helper where none runs. Answers why it cannot be told anything; nothing when it can, or soon will.
std::optional<std::string> reachHelper();

/// Tells the helper of these folders under a key of `FolderRequests`. Answers whether `isDone` holds within ten seconds.
bool tellHelper(const char *key, const std::vector<std::string> &folders, const std::function<bool()> &isDone);
