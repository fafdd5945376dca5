#include "Classes/PrefPane/UncompressList.h"

#include "Classes/PrefPane/ExpansionRun.h"
#include "Classes/PrefPane/ToolTips.h"
#include "Classes/PrefPane/UncompressWords.h"

#include <QFont>
#include <QLocale>
#include <QSize>

#include <algorithm>

static constexpr int kRowHeight = 21;

void UncompressList::clear()
{
    beginResetModel();
    m_groups.clear();
    endResetModel();
}

void UncompressList::add(const ExpansionProgress &progress)
{
    std::map<ExpansionReason, std::vector<ExpansionEntry>> fresh;
    for (const ExpansionEntry &entry : progress.fresh)
        fresh[entry.reason].push_back(entry);
    for (const auto &[reason, count] : progress.counts)
        setCount(rowOf(reason), count);
    for (auto &[reason, entries] : fresh)
        append(rowOf(reason), std::move(entries));
}

/// The row of the reason, which is made where it is new: what was expanded first, then what failed.
std::size_t UncompressList::rowOf(const ExpansionReason &reason)
{
    const auto rank = [](const ExpansionReason &one) { return std::pair(UncompressWords::kindOf(one), one); };
    const auto place = std::ranges::find_if(
        m_groups, [&](const std::unique_ptr<Group> &group) { return rank(group->reason) >= rank(reason); });
    const auto row = std::size_t(place - m_groups.begin());
    if (place == m_groups.end() || (*place)->reason != reason) {
        beginInsertRows({}, int(row), int(row));
        m_groups.insert(place, std::make_unique<Group>(Group{reason, 0, {}}));
        endInsertRows();
    }
    return row;
}

void UncompressList::setCount(std::size_t row, std::uint64_t count)
{
    if (m_groups[row]->count == count)
        return;
    m_groups[row]->count = count;
    Q_EMIT dataChanged(index(int(row), FileColumn), index(int(row), RemarkColumn));
}

void UncompressList::append(std::size_t row, std::vector<ExpansionEntry> entries)
{
    Group &group = *m_groups[row];
    const int first = int(group.entries.size());
    beginInsertRows(index(int(row), FileColumn), first, first + int(entries.size()) - 1);
    std::ranges::move(entries, std::back_inserter(group.entries));
    endInsertRows();
}

QModelIndex UncompressList::index(int row, int column, const QModelIndex &parent) const
{
    if (!hasIndex(row, column, parent))
        return {};
    return createIndex(row, column, parent.isValid() ? m_groups[std::size_t(parent.row())].get() : nullptr);
}

QModelIndex UncompressList::parent(const QModelIndex &index) const
{
    const auto *const group = static_cast<const Group *>(index.constInternalPointer());
    const auto found = std::ranges::find(m_groups, group, &std::unique_ptr<Group>::get);
    return group && found != m_groups.end() ? createIndex(int(found - m_groups.begin()), 0) : QModelIndex();
}

int UncompressList::rowCount(const QModelIndex &parent) const
{
    if (!parent.isValid())
        return int(m_groups.size());
    if (parent.internalPointer() || parent.column() != 0)
        return 0;
    return int(m_groups[std::size_t(parent.row())]->entries.size());
}

int UncompressList::columnCount(const QModelIndex &) const
{
    return ColumnCount;
}

QVariant UncompressList::data(const QModelIndex &index, int role) const
{
    if (!index.isValid())
        return {};
    if (role == Qt::SizeHintRole)
        return QSize(0, kRowHeight);
    if (const auto *const group = static_cast<const Group *>(index.constInternalPointer()))
        return entryData(group->entries[std::size_t(index.row())], index.column(), role);
    return groupData(*m_groups[std::size_t(index.row())], index.column(), role);
}

QVariant UncompressList::groupData(const Group &group, int column, int role) const
{
    if (role == Qt::FontRole) {
        QFont bold;
        bold.setBold(true);
        return column == FileColumn ? QVariant(bold) : QVariant();
    }
    if (role != Qt::DisplayRole)
        return {};
    if (column == FileColumn)
        return UncompressWords::heading(group.reason);
    const QString files =
        group.count == 1 ? tr("1 file") : tr("%1 files").arg(QLocale().toString(qulonglong(group.count)));
    if (group.count <= ExpansionRun::kKept)
        return files;
    return tr("%1, the first %2 shown").arg(files, QLocale().toString(qulonglong(ExpansionRun::kKept)));
}

QVariant UncompressList::entryData(const ExpansionEntry &entry, int column, int role)
{
    if (role != Qt::DisplayRole && role != Qt::ToolTipRole)
        return {};
    const QString text =
        column == FileColumn ? UncompressWords::oneLine(entry.path.native()) : UncompressWords::remark(entry);
    return role == Qt::DisplayRole ? text : plainToolTip(text);
}

QVariant UncompressList::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    return section == FileColumn ? tr("File") : tr("Remark");
}

QString UncompressList::text() const
{
    QModelIndexList rows;
    for (int row = 0; row < rowCount(); ++row) {
        const QModelIndex group = index(row, FileColumn);
        rows.append(group);
        for (int entry = 0; entry < rowCount(group); ++entry)
            rows.append(index(entry, FileColumn, group));
    }
    return text(rows);
}

QString UncompressList::text(const QModelIndexList &rows) const
{
    QString text;
    for (const QModelIndex &row : rows) {
        const auto *const group = static_cast<const Group *>(row.constInternalPointer());
        if (group)
            text += QString::fromStdString(UncompressWords::line(group->entries[std::size_t(row.row())]));
        else
            text += row.data().toString() + u'\t' + row.siblingAtColumn(RemarkColumn).data().toString();
        text += u'\n';
    }
    return text;
}
