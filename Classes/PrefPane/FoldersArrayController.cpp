#include "Classes/PrefPane/FoldersArrayController.h"

#include <algorithm>
#include <numeric>
#include <set>

FoldersArrayController::FoldersArrayController(QObject *parent)
    : QAbstractTableModel(parent)
    , m_selection(this)
{
    connect(&m_presence, &FolderPresence::changed, this, &FoldersArrayController::announceChange);
}

void FoldersArrayController::announceChange()
{
    if (!m_arranged.empty())
        Q_EMIT dataChanged(index(0, 0), index(rowCount() - 1, kColumnCount - 1));
}

void FoldersArrayController::setRules(const FoldersTableRules *rules)
{
    m_rules = rules;
    announceChange();
}

void FoldersArrayController::setContent(const std::vector<HistoryEntry> &content)
{
    std::vector<HistoryEntry> arranged;
    for (const std::size_t place : arrangement(content))
        arranged.push_back(content[place]);
    const bool isSameCount = arranged.size() == m_arranged.size();
    if (!isSameCount)
        beginResetModel();
    m_arranged = std::move(arranged);
    if (!isSameCount)
        endResetModel();
    else
        announceChange();
    std::vector<std::string> folders;
    for (const HistoryEntry &entry : m_arranged) {
        if (entry.sortID != HistoryEntry::kOtherSortID)
            folders.push_back(entry.folder);
    }
    m_presence.look(std::move(folders));
}

void FoldersArrayController::setSortDescriptors(std::vector<PXSortDescriptor> descriptors)
{
    m_sortDescriptors = std::move(descriptors);
    rearrange();
}

/// The places of the entries in the order of the rows.
std::vector<std::size_t> FoldersArrayController::arrangement(const std::vector<HistoryEntry> &entries) const
{
    std::vector<std::size_t> places(entries.size());
    std::iota(places.begin(), places.end(), std::size_t(0));
    // The first order decides between nearly all; what it compares is made once for each entry.
    std::vector<PXSortDescriptor::Compared> compared(entries.size());
    for (std::size_t place = 0; !m_sortDescriptors.empty() && place < entries.size(); ++place)
        compared[place] = m_sortDescriptors.front().comparedOf(entries[place]);
    std::stable_sort(places.begin(), places.end(), [&](std::size_t left, std::size_t right) {
        for (std::size_t order = 0; order < m_sortDescriptors.size(); ++order) {
            const PXSortDescriptor &descriptor = m_sortDescriptors[order];
            const ComparisonResult result =
                order == 0 ? descriptor.compareObject(entries[left], compared[left], entries[right], compared[right])
                           : descriptor.compareObject(entries[left], entries[right]);
            if (result != ComparisonResult::Same)
                return result == ComparisonResult::Ascending;
        }
        return false;
    });
    return places;
}

void FoldersArrayController::rearrange()
{
    // From the rows as they are, so that a row that is selected can be followed to its new place.
    const std::vector<std::size_t> places = arrangement(m_arranged);
    Q_EMIT layoutAboutToBeChanged({}, QAbstractItemModel::VerticalSortHint);
    std::vector<HistoryEntry> arranged;
    std::vector<int> newRows(places.size());
    for (std::size_t row = 0; row < places.size(); ++row) {
        arranged.push_back(std::move(m_arranged[places[row]]));
        newRows[places[row]] = static_cast<int>(row);
    }
    m_arranged = std::move(arranged);
    const QModelIndexList before = persistentIndexList();
    QModelIndexList after;
    for (const QModelIndex &each : before)
        after.append(index(newRows[static_cast<std::size_t>(each.row())], each.column()));
    changePersistentIndexList(before, after);
    Q_EMIT layoutChanged({}, QAbstractItemModel::VerticalSortHint);
}

void FoldersArrayController::sort(int column, Qt::SortOrder order)
{
    const char *key = keyOf(column);
    if (!key)
        return;
    std::vector<PXSortDescriptor> descriptors = m_sortDescriptors;
    auto found = std::find_if(descriptors.begin(), descriptors.end(),
                              [&](const PXSortDescriptor &descriptor) { return descriptor.key() == key; });
    if (found != descriptors.end() && found == descriptors.begin() &&
        found->isAscending() == (order == Qt::AscendingOrder))
        return; // the rows stand so already
    if (found == descriptors.end())
        found = descriptors.insert(descriptors.end(), PXSortDescriptor(key));
    found->setAscending(order == Qt::AscendingOrder);
    std::rotate(descriptors.begin(), found, found + 1);
    setSortDescriptors(std::move(descriptors));
}

bool FoldersArrayController::maySelect(int row) const
{
    return !m_rules || m_rules->tableViewShouldSelectRow(row);
}

std::vector<int> FoldersArrayController::selectionIndexes() const
{
    std::set<int> rows;
    for (const QItemSelectionRange &range : m_selection.selection()) {
        for (int row = range.top(); row <= range.bottom(); ++row) {
            if (maySelect(row))
                rows.insert(row);
        }
    }
    return {rows.begin(), rows.end()};
}

void FoldersArrayController::setSelectionIndexes(const std::vector<int> &rows)
{
    if (rows == selectionIndexes())
        return;
    QItemSelection selection;
    for (const int row : std::set(rows.begin(), rows.end())) {
        if (row < 0 || row >= rowCount() || !maySelect(row))
            continue;
        if (!selection.empty() && selection.back().bottom() + 1 == row) // neighbours make one range
            selection.back() = {selection.back().topLeft(), index(row, kColumnCount - 1)};
        else
            selection.select(index(row, 0), index(row, kColumnCount - 1));
    }
    m_selection.select(selection, QItemSelectionModel::ClearAndSelect);
}

std::vector<HistoryEntry> FoldersArrayController::selectedObjects() const
{
    std::vector<HistoryEntry> entries;
    for (const int row : selectionIndexes())
        entries.push_back(m_arranged[static_cast<std::size_t>(row)]);
    return entries;
}

int FoldersArrayController::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_arranged.size());
}

int FoldersArrayController::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : kColumnCount;
}

const char *FoldersArrayController::keyOf(int column)
{
    switch (column) {
    case FolderColumn:
        return HistoryEntry::kFolder;
    case PathColumn:
        return HistoryEntry::kPath;
    case StatusColumn:
        return HistoryEntry::kStatus;
    case SavingsColumn:
        return HistoryEntry::kSavings;
    default:
        return nullptr;
    }
}
