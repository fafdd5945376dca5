#pragma once

#include "Classes/PrefPane/ExpansionReason.h"

#include <QAbstractItemModel>

#include <map>
#include <memory>
#include <vector>

struct ExpansionProgress;

/// What became of the files of a run: a row for each reason with how many there are, and below it the files that were
/// told. Main thread.
class UncompressList final : public QAbstractItemModel
{
    Q_OBJECT

public:
    enum Column { FileColumn, RemarkColumn, ColumnCount };

    using QAbstractItemModel::QAbstractItemModel;

    void clear();

    /// Takes over what is new.
    void add(const ExpansionProgress &progress);

    /// Everything that is shown, in lines.
    QString text() const;

    /// The rows, in lines; what is below a reason is not among them unless it is named too.
    QString text(const QModelIndexList &rows) const;

    QModelIndex index(int row, int column, const QModelIndex &parent = {}) const override;
    QModelIndex parent(const QModelIndex &index) const override;
    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    struct Group
    {
        ExpansionReason reason;
        std::uint64_t count = 0;
        std::vector<ExpansionEntry> entries;
    };

    std::size_t rowOf(const ExpansionReason &reason);
    void setCount(std::size_t row, std::uint64_t count);
    void append(std::size_t row, std::vector<ExpansionEntry> entries);
    QVariant groupData(const Group &group, int column, int role) const;
    static QVariant entryData(const ExpansionEntry &entry, int column, int role);

    std::vector<std::unique_ptr<Group>> m_groups; ///< pointed to by the indexes of their entries
};
