#include "Host/TableMemory.h"

#include <QHeaderView>

#include <utility>

static constexpr int kNarrowest = 24;
static constexpr int kWidest = 4000;

static bool hasWidth(const QHeaderView &header, int column)
{
    return header.sectionResizeMode(column) == QHeaderView::Interactive;
}

static TableState stateOf(const QTableView &view)
{
    const QHeaderView &header = *view.horizontalHeader();
    TableState state;
    for (int column = 0; column < header.count(); ++column)
        state.widths.push_back(hasWidth(header, column) ? header.sectionSize(column) : 0);
    if (view.isSortingEnabled()) {
        state.sortColumn = header.sortIndicatorSection();
        state.isDescending = header.sortIndicatorOrder() == Qt::DescendingOrder;
    }
    return state;
}

/// What does not fit the table is left as the pane has it.
static void apply(const TableState &state, QTableView &view)
{
    QHeaderView &header = *view.horizontalHeader();
    const bool isOfThisTable = state.widths.size() == std::size_t(header.count());
    for (int column = 0; isOfThisTable && column < header.count(); ++column) {
        const int width = state.widths[std::size_t(column)];
        if (hasWidth(header, column) && width >= kNarrowest && width <= kWidest)
            header.resizeSection(column, width);
    }
    if (view.isSortingEnabled() && state.sortColumn >= 0 && state.sortColumn < header.count())
        view.sortByColumn(state.sortColumn, state.isDescending ? Qt::DescendingOrder : Qt::AscendingOrder);
}

void TableMemory::restore(const std::string &pane, const QWidget &view)
{
    for (QTableView *const table : view.findChildren<QTableView *>()) {
        if (table->objectName().isEmpty() || table->horizontalHeader()->isHidden())
            continue;
        const std::string name = pane + '/' + table->objectName().toStdString();
        apply(m_settings.table(name), *table);
        m_tables.push_back({name, table, stateOf(*table)});
    }
}

void TableMemory::collect()
{
    for (Table &table : m_tables) {
        if (!table.view)
            continue;
        const TableState state = stateOf(*table.view);
        if (std::exchange(table.state, state) != state)
            m_settings.setTable(table.name, state);
    }
}
