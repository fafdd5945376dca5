#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

/// A message as it goes over the socket of a bus, as far as a recording needs it.
struct BusMessage
{
    enum class Type { Call = 1, Answer = 2, Error = 3, Signal = 4 };

    Type type = Type::Call;
    std::string interface;
    std::string member;
    std::vector<std::string> strings; ///< all strings in the body, in their order; those in arrays and variants too

    /// Reads little-endian bytes; nothing when they do not begin with a message.
    static std::optional<BusMessage> read(const std::string &bytes);
};
