#pragma once

#include "Classes/PrefPane/TextFieldCell.h"

#include <QIcon>
#include <QMap>
#include <QStringList>
#include <QStyledItemDelegate>
#include <QTimer>

/// Draws the rows of the folder table, each column by its cell, from the plain values that `FoldersArrayController`
/// gives. The table owns it. Main thread.
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

Q_SIGNALS:
    /// Icons that were not at hand when rows were painted are now.
    void iconsLoaded();

private:
    CellContext context(const QStyleOptionViewItem &option, const QModelIndex &index) const;
    QIcon fileIcon(const QStringList &names) const;
    void loadWanted();

    QIcon m_folderIcon;
    QIcon m_plainIcon;
    QMap<QStringList, QIcon> m_fileIcons; ///< by their names
    mutable QList<QStringList> m_wanted;
    mutable QTimer m_loading; ///< runs while something is wanted
    mutable EllipsizedTexts m_texts;
};
