#pragma once

#include <optional>
#include <string>

/// A session bus that `leaveSilentBus` has taken out of the environment.
struct LeftBus
{
    std::optional<std::string> address; ///< what the variable held; nothing when it was not set
};

/// The bus that was left, once.
std::optional<LeftBus> takeLeftBus();
