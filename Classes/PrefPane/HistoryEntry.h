#pragma once

#include "Platform/Types.h"

#include <cstdint>
#include <optional>
#include <string>
#include <variant>

/// One row of the history table: a watched folder, or the sum of former ones. A value.
struct HistoryEntry
{
    static constexpr const char *kSortID = "sortID";
    static constexpr const char *kFolder = "folder";
    static constexpr const char *kPath = "path";
    static constexpr const char *kStatus = "status";
    static constexpr const char *kSavings = "savings";
    static constexpr const char *kEnabled = "enabled";

    /// The `sortID` of a folder, and of the row that goes last in every order.
    static constexpr std::uint64_t kFolderSortID = 0;
    static constexpr std::uint64_t kOtherSortID = 1;

    /// A number or a text (bytes of the file system); nothing for a key that the row has not.
    using Value = std::variant<std::monostate, std::uint64_t, std::string>;

    std::uint64_t sortID = kFolderSortID;
    std::string folder; ///< where the folder is now, canonical; a path's own bytes
    std::string path;   ///< the same
    std::uint32_t status = 0;
    ByteCount savings = 0;
    std::optional<bool> enabled;

    Value value(const std::string &key) const;

    friend bool operator==(const HistoryEntry &, const HistoryEntry &) = default;
};
