#include "Classes/PrefPane/OpenPanel.h"

#include <QDialogButtonBox>
#include <QDir>
#include <QFileSystemModel>
#include <QLineEdit>
#include <QListView>
#include <QPushButton>
#include <QTreeView>

OpenPanel::OpenPanel(Choose kind, QWidget *parent)
    : QFileDialog(parent)
    , m_kind(kind)
{
    setOption(DontUseNativeDialog); // none of them shows both kinds, or takes several folders at once
    setFileMode(kind == Choose::Folders ? Directory : ExistingFiles);
    setOption(ShowDirsOnly, kind == Choose::Folders);
    setDirectory(QDir::home());
    setLabelText(Accept, tr("Add"));
    for (const char *name : {"fileTypeLabel", "fileTypeCombo"}) {
        if (auto *const widget = findChild<QWidget *>(QLatin1String(name)); widget && kind == Choose::Folders)
            widget->hide(); // there are no types of folders
    }
    if (auto *const details = findChild<QTreeView *>(QStringLiteral("treeView")))
        details->setSelectionMode(QAbstractItemView::ExtendedSelection);
    if (auto *const rows = findChild<QListView *>(QStringLiteral("listView"))) {
        rows->setSelectionMode(QAbstractItemView::ExtendedSelection);
        connect(rows->selectionModel(), &QItemSelectionModel::selectionChanged, this, &OpenPanel::enableButton,
                Qt::QueuedConnection);
    }
}

bool OpenPanel::canBeChosen(const QString &path) const
{
    return m_kind == Choose::Folders ? QFileInfo(path).isDir() : QFileInfo::exists(path);
}

QStringList OpenPanel::selectedRows() const
{
    QStringList paths;
    if (const auto *const rows = findChild<QListView *>(QStringLiteral("listView"))) {
        for (const QModelIndex &index : rows->selectionModel()->selectedRows())
            paths.append(index.data(QFileSystemModel::FilePathRole).toString());
    }
    return paths;
}

/// The panel knows of one kind only, and of one folder.
void OpenPanel::enableButton()
{
    const auto *const buttons = findChild<QDialogButtonBox *>();
    QPushButton *const button = buttons ? buttons->button(QDialogButtonBox::Open) : nullptr;
    if (button && !selectedRows().isEmpty())
        button->setEnabled(true);
}

void OpenPanel::accept()
{
    const auto *const name = findChild<QLineEdit *>();
    const bool isTyped = name && name->hasFocus() && !name->text().isEmpty();
    m_chosen = isTyped ? QStringList() : selectedRows();
    if (!m_chosen.isEmpty())
        return done(Accepted);
    for (const QString &path : selectedFiles()) {
        if (canBeChosen(path))
            m_chosen.append(QDir::cleanPath(path));
    }
    if (!m_chosen.isEmpty())
        done(Accepted);
}
