#include "Classes/PrefPane/FoldersTableDelegate.h"

#include "Classes/PrefPane/FoldersArrayController.h"
#include "Classes/PrefPane/PaneColors.h"

#include <QApplication>
#include <QStyle>

static constexpr QSize kIconSize(24, 24);

FoldersTableDelegate::FoldersTableDelegate(QObject *parent)
    : QStyledItemDelegate(parent)
    , m_folderIcon(QApplication::style()->standardIcon(QStyle::SP_DirIcon))
    , m_plainIcon(QApplication::style()->standardIcon(QStyle::SP_FileIcon))
{
    // Read now, so that no painting has to look for the theme's files.
    for (const QIcon &icon : {m_folderIcon, m_plainIcon}) {
        icon.pixmap(kIconSize, 1.0);
        icon.pixmap(kIconSize, 2.0);
    }
}

QString FoldersTableDelegate::displayText(const QVariant &value, const QLocale &) const
{
    return value.toString(); // as the model gives it, not in the manner of a language
}

QSize FoldersTableDelegate::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    return {QStyledItemDelegate::sizeHint(option, index).width(), kRowHeight};
}

void FoldersTableDelegate::initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const
{
    QStyledItemDelegate::initStyleOption(option, index);
    const QPalette palette = option->palette;
    const QColor grey =
        blended(palette.color(QPalette::Normal, QPalette::Text), palette.color(QPalette::Normal, QPalette::Base), 0.45);
    option->palette.setColor(QPalette::Disabled, QPalette::Text, grey);
    // What is drawn is what is spoken: the name of the folder, the progress or "OFF", the size.
    option->text = index.data(Qt::AccessibleTextRole).toString();
    switch (index.column()) {
    case FoldersArrayController::FolderColumn:
        option->features |= QStyleOptionViewItem::HasDecoration;
        option->icon = index.flags().testFlag(Qt::ItemIsEnabled) ? m_folderIcon : m_plainIcon;
        option->decorationSize = kIconSize;
        break;
    case FoldersArrayController::PathColumn:
        option->palette.setColor(QPalette::Active, QPalette::Text, secondaryText(palette));
        option->palette.setColor(QPalette::Inactive, QPalette::Text, secondaryText(palette));
        break;
    default:
        option->displayAlignment = Qt::AlignCenter;
    }
    // No frame around the one cell that is current: rows are chosen, not cells.
    option->state &= ~QStyle::State_HasFocus;
}
