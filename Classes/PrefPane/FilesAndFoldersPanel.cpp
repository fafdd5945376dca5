#include "Classes/PrefPane/FilesAndFoldersPanel.h"

#include <QDialogButtonBox>
#include <QDir>
#include <QFileSystemModel>
#include <QLineEdit>
#include <QListView>
#include <QPushButton>

FilesAndFoldersPanel::FilesAndFoldersPanel(QWidget *parent)
    : QFileDialog(parent)
{
    setOption(DontUseNativeDialog); // none of them shows both kinds
    setFileMode(ExistingFiles);
    setDirectory(QDir::home());
    setLabelText(Accept, tr("Add"));
    if (const auto *const rows = findChild<QListView *>(QStringLiteral("listView")))
        connect(rows->selectionModel(), &QItemSelectionModel::selectionChanged, this,
                &FilesAndFoldersPanel::enableButton, Qt::QueuedConnection);
}

QStringList FilesAndFoldersPanel::selectedRows() const
{
    QStringList paths;
    if (const auto *const rows = findChild<QListView *>(QStringLiteral("listView"))) {
        for (const QModelIndex &index : rows->selectionModel()->selectedRows())
            paths.append(index.data(QFileSystemModel::FilePathRole).toString());
    }
    return paths;
}

/// The panel knows of files only.
void FilesAndFoldersPanel::enableButton()
{
    const auto *const buttons = findChild<QDialogButtonBox *>();
    QPushButton *const button = buttons ? buttons->button(QDialogButtonBox::Open) : nullptr;
    if (button && !selectedRows().isEmpty())
        button->setEnabled(true);
}

void FilesAndFoldersPanel::accept()
{
    const auto *const name = findChild<QLineEdit *>();
    const bool isTyped = name && name->hasFocus() && !name->text().isEmpty();
    m_chosen = isTyped ? QStringList() : selectedRows();
    if (!m_chosen.isEmpty())
        return done(Accepted);
    for (const QString &path : selectedFiles()) {
        if (QFileInfo::exists(path))
            m_chosen.append(QDir::cleanPath(path));
    }
    if (!m_chosen.isEmpty())
        done(Accepted);
}
