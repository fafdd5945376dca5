// What the cells of the folder table hold, say and tell.
#include "Classes/PrefPane/FoldersArrayController.h"

#include "Classes/PrefPane/PXSizeToPrettySizeTransformer.h"
#include "Classes/PrefPane/ToolTips.h"
#include "Classes/Shared/LastPathComponentCompare.h"

#include <algorithm>

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
        return entry.sortID == HistoryEntry::kOtherSortID || m_presence.isMissing(entry.folder);
    case IconRole:
        return m_presence.icons(entry.folder);
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
    if (role == Qt::InitialSortOrderRole)
        return Qt::AscendingOrder;
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
    flags.setFlag(Qt::ItemIsSelectable, maySelect(index.row()));
    return flags;
}

HistoryCell FoldersArrayController::cell(const QModelIndex &index) const
{
    HistoryCell cell;
    if (m_rules)
        m_rules->tableViewWillDisplayCell(cell, index.column(), index.row());
    return cell;
}
