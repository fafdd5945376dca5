#pragma once

#include <QIcon>
#include <QStyledItemDelegate>

/// Draws the rows of the folder table: the folder's name with an icon, its path, its progress and its savings, which
/// `FoldersArrayController` gives as plain values. A disabled row, the sum of former folders, is grey and has no
/// progress.
class FoldersTableDelegate final : public QStyledItemDelegate
{
    Q_OBJECT

public:
    static constexpr int kRowHeight = 34;

    explicit FoldersTableDelegate(QObject *parent = nullptr);

    QString displayText(const QVariant &value, const QLocale &locale) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;

protected:
    void initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const override;

private:
    QIcon m_folderIcon;
    QIcon m_plainIcon;
};
