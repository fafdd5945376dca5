#pragma once

#include <functional>

/// Runs the event loop until `isDone` holds, for ten seconds at most. Answers whether it holds.
bool waitUntil(const std::function<bool()> &isDone);
