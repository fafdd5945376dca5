#pragma once

#include <cstddef>
#include <optional>
#include <string>

/// A folder that is not treated as the user has asked for. A value.
struct FolderRefusal
{
    enum class Reason {
        Missing,    ///< there is no folder of that name
        WholeDisk,  ///< "/"
        System,     ///< it belongs to the system
        OwnFiles,   ///< the helper keeps its own files there
        Unreadable, ///< this user may not look into it
        NotText,    ///< its path is no UTF-8, so that the helper cannot be told of it; never kept in the store
    };

    /// The table and its columns in the history store; the reason is kept by its name.
    static constexpr const char *kTable = "HELPERREFUSAL";
    static constexpr const char *kFolder = "FOLDER";
    static constexpr const char *kReason = "REASON";

    /// The helper keeps no more of them, for any process of the user may ask for anything.
    static constexpr std::size_t kMostKept = 100;

    std::string folder; ///< as it was asked for; a path's own bytes
    Reason reason = Reason::Missing;

    static const char *nameOf(Reason reason);

    /// Nothing for a name that no reason has.
    static std::optional<Reason> reasonNamed(const std::string &name);

    friend bool operator==(const FolderRefusal &, const FolderRefusal &) = default;
};
