#include "Classes/PrefPane/ExclusionsArrayController.h"

#include <algorithm>
#include <iterator>
#include <utility>

ExclusionsArrayController::ExclusionsArrayController(Editing editing, QObject *parent)
    : QAbstractTableModel(parent)
    , m_editing(editing)
    , m_selection(this)
{
}

void ExclusionsArrayController::setContent(ExclusionEntries content)
{
    m_content = std::move(content);
    rearrange();
}

void ExclusionsArrayController::sortByText()
{
    m_isSorted = true;
    rearrange();
}

void ExclusionsArrayController::setFilter(const QString &filter)
{
    if (filter == m_filter)
        return;
    m_filter = filter;
    rearrange();
    Q_EMIT filterChanged(filter);
}

void ExclusionsArrayController::rearrange()
{
    const ExclusionEntries selected = selectedObjects();
    const QModelIndex current = m_selection.currentIndex();
    const ExclusionEntry focused = current.isValid() ? m_arranged[std::size_t(current.row())] : nullptr;
    beginResetModel();
    m_arranged.clear();
    std::copy_if(m_content.begin(), m_content.end(), std::back_inserter(m_arranged),
                 [this](const ExclusionEntry &entry) { return entry->contains(m_filter, Qt::CaseInsensitive); });
    if (m_isSorted)
        std::stable_sort(m_arranged.begin(), m_arranged.end(),
                         [](const ExclusionEntry &left, const ExclusionEntry &right) {
                             return left->compare(*right, Qt::CaseInsensitive) < 0;
                         });
    endResetModel();
    if (const int row = rowOf(focused); row >= 0)
        m_selection.setCurrentIndex(index(row, 0), QItemSelectionModel::NoUpdate);
    setSelectedObjects(selected);
}

int ExclusionsArrayController::rowOf(const ExclusionEntry &entry) const
{
    const auto found = std::find(m_arranged.begin(), m_arranged.end(), entry);
    return found == m_arranged.end() ? -1 : int(found - m_arranged.begin());
}

ExclusionEntries ExclusionsArrayController::selectedObjects() const
{
    ExclusionEntries entries;
    for (std::size_t row = 0; row < m_arranged.size(); ++row) {
        if (m_selection.isRowSelected(int(row)))
            entries.push_back(m_arranged[row]);
    }
    return entries;
}

void ExclusionsArrayController::setSelectedObjects(const ExclusionEntries &entries)
{
    QItemSelection selection;
    for (const ExclusionEntry &entry : entries) {
        if (const int row = rowOf(entry); row >= 0)
            selection.select(index(row, 0), index(row, 0));
    }
    m_selection.select(selection, QItemSelectionModel::ClearAndSelect);
}

int ExclusionsArrayController::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_arranged.size());
}

int ExclusionsArrayController::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : 1;
}

QVariant ExclusionsArrayController::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const bool isText = role == Qt::DisplayRole || role == Qt::EditRole || role == Qt::ToolTipRole;
    return isText ? QVariant(*m_arranged[std::size_t(index.row())]) : QVariant();
}

/// The row stays where it is until the content is set anew: whoever edits it is not done yet.
bool ExclusionsArrayController::setData(const QModelIndex &index, const QVariant &value, int role)
{
    if (role != Qt::EditRole || m_editing == Editing::None || !checkIndex(index, CheckIndexOption::IndexIsValid))
        return false;
    *m_arranged[std::size_t(index.row())] = value.toString();
    Q_EMIT dataChanged(index, index);
    return true;
}

Qt::ItemFlags ExclusionsArrayController::flags(const QModelIndex &index) const
{
    Qt::ItemFlags flags = QAbstractTableModel::flags(index);
    flags.setFlag(Qt::ItemIsEditable, index.isValid() && m_editing == Editing::InPlace);
    return flags;
}
