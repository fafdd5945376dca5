#include "Classes/PrefPane/FoldersTableDelegate.h"

#include "Classes/PrefPane/FoldersArrayController.h"
#include "Classes/PrefPane/PXFoldersCell.h"
#include "Classes/PrefPane/PXPathCell.h"
#include "Classes/PrefPane/PXSavingsCell.h"
#include "Classes/PrefPane/PXStatusCell.h"

#include <QApplication>
#include <QStyle>

#include <algorithm>
#include <utility>

static constexpr QSize kIconSize(24, 24);

/// Read now, so that no painting has to look for the theme's files. Selected it looks the same: tinted with the colour
/// of the selection a blue folder is hardly to be seen on it.
static QIcon drawn(const QIcon &themed)
{
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
    m_loading.setSingleShot(true);
    connect(&m_loading, &QTimer::timeout, this, &FoldersTableDelegate::loadWanted);
    loadIcons();
}

void FoldersTableDelegate::loadIcons()
{
    m_folderIcon = drawn(QApplication::style()->standardIcon(QStyle::SP_DirIcon));
    m_plainIcon = drawn(QApplication::style()->standardIcon(QStyle::SP_FileIcon));
    m_wanted.append(m_fileIcons.keys());
    loadWanted();
}

void FoldersTableDelegate::loadWanted()
{
    for (const QStringList &names : std::exchange(m_wanted, {})) {
        const auto name =
            std::ranges::find_if(names, [](const QString &each) { return !QIcon::fromTheme(each).isNull(); });
        const bool isFolder = names.contains(QLatin1String("folder"));
        m_fileIcons[names] = name != names.end() ? drawn(QIcon::fromTheme(*name))
                             : isFolder          ? m_folderIcon
                                                 : m_plainIcon;
    }
    Q_EMIT iconsLoaded();
}

/// The folder's until the one for the kind of file is there, which no painting waits for.
QIcon FoldersTableDelegate::fileIcon(const QStringList &names) const
{
    const auto found = m_fileIcons.constFind(names);
    if (names.isEmpty() || found != m_fileIcons.constEnd())
        return names.isEmpty() ? m_folderIcon : *found;
    if (!m_wanted.contains(names))
        m_wanted.append(names);
    m_loading.start();
    return m_folderIcon;
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
    context.icon =
        context.isEnabled ? fileIcon(index.data(FoldersArrayController::IconRole).toStringList()) : m_plainIcon;
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
