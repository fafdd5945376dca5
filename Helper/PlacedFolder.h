#pragma once

#include "Helper/HistoryDatabase.h"
#include "Platform/Types.h"

#include <optional>
#include <string>

/// A record of the list and where its folder is now, which is looked for once, when it is first asked for. A value; one
/// thread.
class PlacedFolder final
{
public:
    explicit PlacedFolder(WatchedFolder recorded)
        : record(std::move(recorded))
    {
    }

    /// Whether the alias finds the folder.
    bool isFound();

    /// Where the folder is now, without links; where it was when it was recorded when it is not found.
    const std::string &place();

    /// Notes that the folder was recorded anew where it is now.
    void recordAt(const HistoryDatabase::Location &location);

    WatchedFolder record;

private:
    std::optional<std::string> m_place; ///< once it was looked for
    bool m_isFound = false;
};
