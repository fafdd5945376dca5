#include "Classes/PrefPane/FoldersArrayController.h"

#include "Classes/PrefPane/PXSizeToPrettySizeTransformer.h"
#include "Classes/PrefPane/ToolTips.h"
#include "Classes/Shared/LastPathComponentCompare.h"
#include "Classes/Shared/map.h"

#include <algorithm>
#include <numeric>

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
    m_presence.look(map(m_arranged, [](const HistoryEntry &entry) { return entry.folder; }));
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

std::vector<int> FoldersArrayController::selectionIndexes() const
{
    std::vector<int> rows;
    for (int row = 0; row < rowCount(); ++row) {
        if (m_selection.rowIntersectsSelection(row))
            rows.push_back(row);
    }
    return rows;
}

void FoldersArrayController::setSelectionIndexes(const std::vector<int> &rows)
{
    if (rows == selectionIndexes())
        return;
    QItemSelection selection;
    for (const int row : rows) {
        if (row >= 0 && row < rowCount() && (!m_rules || m_rules->tableViewShouldSelectRow(row)))
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

QVariant FoldersArrayController::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const HistoryEntry &entry = m_arranged[static_cast<std::size_t>(index.row())];
    switch (role) {
    case Qt::DisplayRole:
        return displayed(entry, index.column());
    case Qt::AccessibleTextRole:
        return spoken(index);
    case Qt::ToolTipRole:
        return tip(index);
    case StateRole:
        return cell(index).state;
    case MissingRole:
        return m_presence.isMissing(entry.folder);
    default:
        return {};
    }
}

QVariant FoldersArrayController::displayed(const HistoryEntry &entry, int column) const
{
    switch (column) {
    case FolderColumn:
        return QString::fromStdString(entry.folder);
    case PathColumn:
        return QString::fromStdString(entry.path);
    case StatusColumn:
        return entry.status;
    default:
        return QVariant::fromValue<qulonglong>(entry.savings);
    }
}

/// What a cell cannot show: a path that is cut off, the exact number of bytes.
QString FoldersArrayController::tip(const QModelIndex &index) const
{
    const HistoryEntry &entry = m_arranged[static_cast<std::size_t>(index.row())];
    switch (index.column()) {
    case StatusColumn:
        return cell(index).isEnabled ? tr("%1 % looked through").arg(std::min(entry.status, 100U)) : QString();
    case SavingsColumn:
        return exactSize(entry.savings);
    default:
        return plainToolTip(QString::fromStdString(entry.path));
    }
}

/// What a cell says to somebody who does not see it.
QString FoldersArrayController::spoken(const QModelIndex &index) const
{
    const HistoryEntry &entry = m_arranged[static_cast<std::size_t>(index.row())];
    switch (index.column()) {
    case FolderColumn:
        return lastPathComponent(QString::fromStdString(entry.folder));
    case PathColumn:
        return QString::fromStdString(entry.path);
    case StatusColumn: {
        const HistoryCell shown = cell(index);
        if (!shown.isEnabled)
            return {};
        return shown.state ? tr("%1 %").arg(std::min(entry.status, 100U)) : tr("OFF");
    }
    default:
        return PXSizeToPrettySizeTransformer().transformedValue(QVariant::fromValue<qulonglong>(entry.savings));
    }
}

QVariant FoldersArrayController::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation == Qt::Horizontal && role == Qt::TextAlignmentRole && section >= StatusColumn)
        return int(Qt::AlignCenter);
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return QAbstractTableModel::headerData(section, orientation, role);
    switch (section) {
    case FolderColumn:
        return tr("Folder");
    case PathColumn:
        return tr("Path");
    case StatusColumn:
        return tr("Status");
    case SavingsColumn:
        return tr("Savings");
    default:
        return {};
    }
}

Qt::ItemFlags FoldersArrayController::flags(const QModelIndex &index) const
{
    if (!index.isValid())
        return Qt::NoItemFlags;
    Qt::ItemFlags flags = Qt::ItemNeverHasChildren;
    flags.setFlag(Qt::ItemIsEnabled, cell(index).isEnabled);
    flags.setFlag(Qt::ItemIsSelectable, !m_rules || m_rules->tableViewShouldSelectRow(index.row()));
    return flags;
}

HistoryCell FoldersArrayController::cell(const QModelIndex &index) const
{
    HistoryCell cell;
    if (m_rules)
        m_rules->tableViewWillDisplayCell(cell, index.column(), index.row());
    return cell;
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
