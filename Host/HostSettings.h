#pragma once

#include "Platform/PropertyList.h"
#include "Platform/Types.h"

#include <string>
#include <vector>

/// What a user has made of a table. A value.
struct TableState
{
    std::vector<int> widths; ///< of its columns, in points; 0 for one that takes the room that is left
    int sortColumn = -1;     ///< -1: not sorted
    bool isDescending = false;

    friend bool operator==(const TableState &, const TableState &) = default;
};

/// What the host remembers from one run to the next, in a property list of its own. A file that holds no such list
/// is moved aside before a new one is written, one that could not be read for another reason is left; keys that this version does not know are kept. Main
/// thread.
class HostSettings final
{
public:
    /// Reads the file at `path`, which need not exist.
    explicit HostSettings(Path path);

    /// com.dovrane.Preferences.plist in the user's configuration folder.
    static Path defaultPath();

    /// What `setLastPane` was given; empty at first and after the overview of all panes.
    std::string lastPane() const { return m_values.string("LastPane"); }
    void setLastPane(const std::string &pane);

    /// The window's place in the form of `QWidget::saveGeometry`; empty at first.
    Bytes windowGeometry() const;
    void setWindowGeometry(const Bytes &geometry);

    /// What `setTable` was given under that name; empty widths and no order at first.
    TableState table(const std::string &name) const;
    void setTable(const std::string &name, const TableState &state);

    /// Writes the file where something has changed since it was read or written. A failure is logged.
    void save();

private:
    bool makeWay() const;

    Path m_path;
    PropertyList m_values;
    bool m_isChanged = false;
    bool m_isDamaged = false;
    bool m_isUnknown = false; ///< what the file holds
};
