#pragma once

#include "Classes/PrefPane/ExclusionEntry.h"

#include <QAbstractTableModel>
#include <QItemSelectionModel>

/// Arranges the entries of one exclusion list for its table, and knows which of them are selected: sorted, and without
/// those that a filter leaves out. The selection goes with the entries. Main thread.
class ExclusionsArrayController final : public QAbstractTableModel
{
    Q_OBJECT

public:
    /// Whether a cell edits the text of its entry in place.
    enum class Editing { None, InPlace };

    explicit ExclusionsArrayController(Editing editing, QObject *parent = nullptr);

    void setContent(ExclusionEntries content);

    /// From now on by text, without regard to case; equal ones in the order of the content.
    void sortByText();

    /// Shows only entries whose text contains this, without regard to case; all when it is empty.
    void setFilter(const QString &filter);
    const QString &filter() const { return m_filter; }

    /// The entries in the order of the rows.
    const ExclusionEntries &arrangedObjects() const { return m_arranged; }

    /// The row of that very entry, -1 when it is not shown.
    int rowOf(const ExclusionEntry &entry) const;
    ExclusionEntries selectedObjects() const;
    void setSelectedObjects(const ExclusionEntries &entries);

    /// For the table to use as its own.
    QItemSelectionModel *selectionModel() { return &m_selection; }

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex &index, const QVariant &value, int role = Qt::EditRole) override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;

Q_SIGNALS:
    void filterChanged(const QString &filter);

private:
    void rearrange();

    Editing m_editing;
    bool m_isSorted = false;
    QString m_filter;
    ExclusionEntries m_content;
    ExclusionEntries m_arranged;
    QItemSelectionModel m_selection;
};
