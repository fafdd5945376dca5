#pragma once

#include "Classes/PrefPane/TextFieldCell.h"

#include <QIcon>
#include <QStyledItemDelegate>

/// Draws the rows of the folder table, each column by its cell, from the plain values that `FoldersArrayController`
/// gives.
class FoldersTableDelegate final : public QStyledItemDelegate
{
    Q_OBJECT

public:
    static constexpr int kRowHeight = 34;

    explicit FoldersTableDelegate(QObject *parent = nullptr);

    /// Takes the icons from the desktop's theme anew.
    void loadIcons();

    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;

private:
    CellContext context(const QStyleOptionViewItem &option, const QModelIndex &index) const;

    QIcon m_folderIcon;
    QIcon m_plainIcon;
    mutable EllipsizedTexts m_texts;
};
