#include "Classes/PrefPane/ExclusionPasteboard.h"
#include "Classes/PrefPane/FilePasteboard.h"
#include "Classes/PrefPane/NoteLabel.h"
#include "Classes/PrefPane/OpenPanel.h"
#include "Classes/PrefPane/PXUncompressorController.h"
#include "Classes/PrefPane/UncompressList.h"
#include "Classes/PrefPane/UncompressSaving.h"
#include "Classes/PrefPane/UncompressView.h"
#include "Platform/HostApplication.h"

#include <QApplication>
#include <QClipboard>
#include <QDir>
#include <QFile>
#include <QTreeView>

#include <algorithm>

// What the buttons and keys of the page do.

void UncompressView::choose()
{
    auto *const panel = new OpenPanel(OpenPanel::Choose::FilesAndFolders);
    panel->setWindowTitle(tr("Uncompress"));
    panel->setLabelText(QFileDialog::Accept, tr("Uncompress"));
    HostApplication::current().beginSheet(panel, window(),
                                          [self = QPointer(m_controller), panel = QPointer(panel)](int result) {
                                              std::vector<Path> paths;
                                              for (const QString &path : panel ? panel->chosenPaths() : QStringList())
                                                  paths.emplace_back(QFile::encodeName(path).toStdString());
                                              if (self && result == QDialog::Accepted && !paths.empty())
                                                  self->uncompress(paths);
                                              if (panel)
                                                  panel->deleteLater();
                                          });
}

/// Files as a file manager copies them, or lines with the paths of files that are there.
static std::vector<Path> pathsOnClipboard()
{
    const QMimeData *const content = QApplication::clipboard()->mimeData();
    if (!content)
        return {};
    std::vector<Path> paths = FilePasteboard::pathsIn(*content);
    if (!paths.empty())
        return paths;
    for (const QString &path : ExclusionPasteboard::pathsIn(*content)) {
        if (QFile::exists(path))
            paths.emplace_back(QFile::encodeName(path).toStdString());
    }
    return paths;
}

void UncompressView::paste()
{
    if (m_controller->uncompressing())
        return;
    if (const std::vector<Path> paths = pathsOnClipboard(); !paths.empty())
        m_controller->uncompress(paths);
    else
        m_state->setText(tr("There are no files on the clipboard."));
}

void UncompressView::copy()
{
    QModelIndexList rows = m_tree->selectionModel()->selectedRows();
    std::ranges::sort(rows, [](const QModelIndex &one, const QModelIndex &other) {
        const auto place = [](const QModelIndex &index) {
            return index.parent().isValid() ? std::pair(index.parent().row(), index.row()) : std::pair(index.row(), -1);
        };
        return place(one) < place(other);
    });
    QApplication::clipboard()->setText(rows.isEmpty() ? m_list->text() : m_list->text(rows));
}

void UncompressView::save()
{
    auto *const panel = new QFileDialog;
    panel->setWindowTitle(tr("Save the List of Files"));
    panel->setAcceptMode(QFileDialog::AcceptSave);
    panel->setDirectory(QDir::home());
    panel->selectFile(tr("Uncompressed files.txt"));
    const auto save = [self = QPointer(this), panel = QPointer(panel), run = m_controller->run()](int result) {
        if (self && panel && result == QDialog::Accepted && !panel->selectedFiles().isEmpty())
            self->m_saving->save(run, panel->selectedFiles().front());
        if (self)
            self->enableSaving();
        if (panel)
            panel->deleteLater();
    };
    HostApplication::current().beginSheet(panel, window(), save);
}

void UncompressView::showSaved(const QString &file, const QString &fault, bool isWritten)
{
    const QString name = QFileInfo(file).fileName();
    enableSaving();
    if (!isWritten)
        m_state->setText(tr("The list could not be saved: %1").arg(fault));
    else if (fault.isEmpty())
        m_state->setText(tr("The list was saved as %1.").arg(name));
    else
        m_state->setText(tr("The list was saved as %1, but is not whole: %2").arg(name, fault));
}

/// Not while a run goes on, whose list is not whole, nor while another saving does, which would be waited for.
void UncompressView::enableSaving()
{
    m_save->setEnabled(m_controller && m_controller->run() && !m_controller->uncompressing() && !m_saving->isSaving());
}
