#pragma once

#include "Host/HostSettings.h"

#include <QPointer>
#include <QTableView>

#include <string>
#include <vector>

/// Keeps what the user makes of the tables in the panes: the widths of their columns and the order of their rows. A
/// table that stands as its pane has made it is not remembered. Main thread.
class TableMemory final
{
public:
    /// `settings` must outlive this.
    explicit TableMemory(HostSettings &settings)
        : m_settings(settings)
    {
    }

    /// Gives the tables of a pane that has just been loaded what is remembered of them. Only those count that have a
    /// header and an object name.
    void restore(const std::string &pane, const QWidget &view);

    /// Hands to the settings what has changed.
    void collect();

private:
    struct Table
    {
        std::string name;
        QPointer<QTableView> view;
        TableState state; ///< as it was when last looked at
    };

    HostSettings &m_settings;
    std::vector<Table> m_tables;
};
