#include "Classes/PrefPane/FoldersTableDelegate.h"

#include "Classes/PrefPane/FoldersArrayController.h"
#include "Classes/PrefPane/PXFoldersCell.h"
#include "Classes/PrefPane/PXPathCell.h"
#include "Classes/PrefPane/PXSavingsCell.h"
#include "Classes/PrefPane/PXStatusCell.h"

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
{
    loadIcons();
}

void FoldersTableDelegate::loadIcons()
{
    m_folderIcon = iconOf(QStyle::SP_DirIcon);
    m_plainIcon = iconOf(QStyle::SP_FileIcon);
}

CellContext FoldersTableDelegate::context(const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    CellContext context;
    const QVariant value = index.data();
    context.stringValue = value.toString();
    context.objectValue = value.toULongLong();
    context.isMissing = index.data(FoldersArrayController::MissingRole).toBool();
    context.isHighlighted = option.state.testFlag(QStyle::State_Selected);
    context.isEnabled = index.flags().testFlag(Qt::ItemIsEnabled);
    context.state = index.data(FoldersArrayController::StateRole).toBool();
    context.icon = context.isEnabled ? m_folderIcon : m_plainIcon;
    context.palette = option.palette;
    return context;
}

void FoldersTableDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    static constexpr decltype(&PXPathCell::drawInteriorWithFrame) kDraw[FoldersArrayController::kColumnCount] = {
        PXFoldersCell::drawInteriorWithFrame, PXPathCell::drawInteriorWithFrame, PXStatusCell::drawInteriorWithFrame,
        PXSavingsCell::drawInteriorWithFrame};
    QStyleOptionViewItem shown = option;
    initStyleOption(&shown, index);
    shown.state.setFlag(QStyle::State_Active); // the cells draw on the strong selection, whoever has the keys
    const QStyle *const style = option.widget ? option.widget->style() : QApplication::style();
    style->drawPrimitive(QStyle::PE_PanelItemViewItem, &shown, painter, option.widget);
    kDraw[index.column()](option.rect, context(shown, index), m_texts, *painter);
}

QSize FoldersTableDelegate::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    return {QStyledItemDelegate::sizeHint(option, index).width(), kRowHeight};
}
