// The actions of the folder table: choosing folders, dropping and pasting them.
#include "Classes/PrefPane/ExclusionPasteboard.h"
#include "Classes/PrefPane/FilePasteboard.h"
#include "Classes/PrefPane/OpenPanel.h"
#include "Classes/PrefPane/PXHistoryController.h"
#include "Classes/PrefPane/TamselPref.h"
#include "Classes/PrefPane/TamselPrefView.h"
#include "Classes/Shared/isDirectory.h"
#include "Platform/HostApplication.h"

#include <QFile>

static PXHistoryController *history()
{
    return PXHistoryController::sharedHistoryController();
}

/// Those that exist and are directories, in their order.
static std::vector<std::string> directoriesAmong(const std::vector<Path> &paths)
{
    std::vector<std::string> folders;
    for (const Path &path : paths) {
        if (isDirectory(path))
            folders.push_back(path.native());
    }
    return folders;
}

/// Files by their own bytes, which need not be UTF-8, else what is named in the text.
static std::vector<Path> pathsIn(const QMimeData &content)
{
    std::vector<Path> paths = FilePasteboard::pathsIn(content);
    if (paths.empty()) {
        for (const QString &name : ExclusionPasteboard::pathsIn(content))
            paths.push_back(QFile::encodeName(name).toStdString());
    }
    return paths;
}

void TamselPref::addFolder()
{
    if (!m_view)
        return;
    auto *const panel = new OpenPanel(OpenPanel::Choose::Folders);
    panel->setWindowTitle(tr("Watch folders"));
    HostApplication::current().beginSheet(panel, m_view->window(),
                                          [self = QPointer(this), panel = QPointer(panel)](int returnCode) {
                                              if (self && panel)
                                                  self->addFolderPanelDidEnd(*panel, returnCode);
                                              if (panel)
                                                  panel->deleteLater();
                                          });
}

void TamselPref::addFolderPanelDidEnd(const OpenPanel &panel, int returnCode)
{
    if (returnCode != QDialog::Accepted)
        return;
    std::vector<std::string> folders;
    for (const QString &path : panel.chosenPaths())
        folders.push_back(QFile::encodeName(path).toStdString());
    history()->addFolders(std::move(folders));
}

void TamselPref::removeFolder()
{
    history()->removeFolders();
}

void TamselPref::pasteFolders(const QMimeData &content)
{
    if (std::vector<std::string> folders = directoriesAmong(pathsIn(content)); !folders.empty())
        history()->addFolders(std::move(folders));
    else
        foldersTableView()->beep();
}

std::optional<std::vector<std::string>> TamselPref::foldersInPasteboard(const QMimeData &pasteboard)
{
    const std::vector<Path> paths = FilePasteboard::pathsIn(pasteboard);
    if (paths.empty())
        return std::nullopt;
    return directoriesAmong(paths);
}

bool TamselPref::tableViewValidateDrop(DVTableView &, const QMimeData &data)
{
    const auto folders = foldersInPasteboard(data);
    return folders && !folders->empty();
}

bool TamselPref::tableViewAcceptDrop(DVTableView &table, const QMimeData &data, const QObject *source)
{
    if (source == &table || !data.hasUrls())
        return false;
    auto folders = foldersInPasteboard(data);
    if (!folders || folders->empty())
        return false;
    history()->addFolders(*std::move(folders));
    table.viewport()->update();
    HostApplication::current().activate(true);
    return true;
}
