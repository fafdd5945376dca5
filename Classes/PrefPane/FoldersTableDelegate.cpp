#include "Classes/PrefPane/FoldersTableDelegate.h"

#include "Classes/PrefPane/FoldersArrayController.h"
#include "Classes/PrefPane/PaneColors.h"

#include <QApplication>
#include <QStyle>

static constexpr QSize kIconSize(24, 24);

/// Read now, so that no painting has to look for the theme's files. Selected it looks the same: tinted with the colour
/// of the selection a blue folder is hardly to be seen on it.
static QIcon iconOf(QStyle::StandardPixmap which)
{
    const QIcon themed = QApplication::style()->standardIcon(which);
    QIcon icon;
    for (const double ratio : {1.0, 2.0, 3.0}) {
        const QPixmap pixmap = themed.pixmap(kIconSize, ratio);
        icon.addPixmap(pixmap, QIcon::Normal);
        icon.addPixmap(pixmap, QIcon::Selected);
    }
    return icon;
}

FoldersTableDelegate::FoldersTableDelegate(QObject *parent)
    : QStyledItemDelegate(parent)
    , m_folderIcon(iconOf(QStyle::SP_DirIcon))
    , m_plainIcon(iconOf(QStyle::SP_FileIcon))
{
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
