#pragma once

#include "Classes/PrefPane/FolderPresence.h"
#include "Classes/PrefPane/HistoryEntry.h"
#include "Classes/PrefPane/PXSortDescriptor.h"

#include <QAbstractTableModel>
#include <QItemSelectionModel>

#include <vector>

/// How a cell of the folder table is shown.
struct HistoryCell
{
    bool isEnabled = true; ///< else greyed
    bool state = false;    ///< whether the helper is on
};

/// Who decides how the rows of the folder table are shown and chosen. Rows are those of the table.
class FoldersTableRules
{
public:
    virtual ~FoldersTableRules() = default;

    virtual void tableViewWillDisplayCell(HistoryCell &cell, int column, int row) const = 0;
    virtual bool tableViewShouldSelectRow(int row) const = 0;
};

/// Arranges the history entries for the folder table and knows which of them are selected. Shows folder, path, status
/// and savings as plain values; a row that the rules disable has disabled items. Main thread.
class FoldersArrayController final : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column { FolderColumn, PathColumn, StatusColumn, SavingsColumn, kColumnCount };
    enum Role {
        StateRole = Qt::UserRole, ///< bool: the state of the cell
        MissingRole, ///< bool: nothing was where the row's folder should be when last looked at, or it stands for none
        IconRole     ///< QStringList: names of the icon for what is there, the most telling first; none: a folder's
    };

    explicit FoldersArrayController(QObject *parent = nullptr);

    /// `rules` must outlive it; nullptr enables everything.
    void setRules(const FoldersTableRules *rules);

    /// The entries to arrange. Rows that stay as many keep their selection, by their places.
    void setContent(const std::vector<HistoryEntry> &content);

    /// Finds out anew which folders are missing; the rows change when that is known.
    void lookForFolders() { m_presence.lookAgain(); }

    /// The entries in the order of the rows.
    const std::vector<HistoryEntry> &arrangedObjects() const { return m_arranged; }

    /// The orders, the first deciding; later ones decide between equals. The selection goes with its entries.
    void setSortDescriptors(std::vector<PXSortDescriptor> descriptors);
    const std::vector<PXSortDescriptor> &sortDescriptors() const { return m_sortDescriptors; }

    /// The selected rows, ascending. A row that the rules leave out is never selected; one that is not there is
    /// ignored.
    std::vector<int> selectionIndexes() const;
    void setSelectionIndexes(const std::vector<int> &rows);
    std::vector<HistoryEntry> selectedObjects() const;

    /// For the table to use as its own.
    QItemSelectionModel *selectionModel() { return &m_selection; }

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;

    /// Puts the order by that column in front of the others.
    void sort(int column, Qt::SortOrder order = Qt::AscendingOrder) override;

    /// The key that a column shows.
    static const char *keyOf(int column);

private:
    std::vector<std::size_t> arrangement(const std::vector<HistoryEntry> &entries) const;
    void rearrange();
    bool maySelect(int row) const;
    HistoryCell cell(const QModelIndex &index) const;
    void announceChange();
    QVariant displayed(const HistoryEntry &entry, int column) const;
    QString tip(const QModelIndex &index) const;
    QString spoken(const QModelIndex &index) const;

    const FoldersTableRules *m_rules = nullptr;
    std::vector<HistoryEntry> m_arranged;
    std::vector<PXSortDescriptor> m_sortDescriptors;
    QItemSelectionModel m_selection;
    FolderPresence m_presence;
};
