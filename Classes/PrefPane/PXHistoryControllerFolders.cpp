// Adding watched folders and removing them: what the user is asked, and what the helper is told.
#include "Classes/PrefPane/PXHistoryController.h"

#include "Classes/Shared/AlertSheet.h"
#include "Classes/Shared/map.h"
#include "Platform/HostApplication.h"

using namespace std::chrono_literals;

static constexpr auto kRequestDelay = 10ms;

/// A drop may come from a program whose window still has the keys.
static QWidget *sheetWindow()
{
    QWidget *const key = HostApplication::current().keyWindow();
    return key ? key : HostApplication::current().mainWindow();
}

void PXHistoryController::addFolders(std::vector<std::string> folders)
{
    AddFoldersRequest request = AddFoldersRequest::classify(std::move(folders));
    QTimer::singleShot(kRequestDelay, this,
                       [this, request = std::move(request)] { processAddFoldersRequest(request); });
}

void PXHistoryController::processAddFoldersRequest(AddFoldersRequest request)
{
    if (request.warned.empty()) {
        m_requests.post(FolderRequests::kToAdd, request.accepted);
        if (request.hasDropped())
            warnAboutRemovedFolders();
        return;
    }
    const auto didEnd = [this, request = std::move(request)](int returnCode) mutable {
        const bool hasDropped = request.hasDropped();
        if (returnCode == AlertSheet::kAlternateReturn)
            request.rejectWarned();
        m_requests.post(FolderRequests::kToAdd, request.accepted);
        if (hasDropped)
            warnAboutRemovedFolders();
    };
    AlertSheet::alertWithMessageText(
        "Compatibility Warning", "Add Anyway", "Cancel", {},
        "Some of the folders you added are not located in your main boot volume.\r\r"
        "If you disconnect the volume and mount it in an older version of Mac OS or other operating system, compressed "
        "files will not be seen by that OS.\r\r"
        "You can always copy or share compressed files from your Snow Leopard computer.")
        .beginSheetModalForWindow(sheetWindow(), didEnd);
}

void PXHistoryController::warnAboutRemovedFolders()
{
    AlertSheet::alertWithMessageText("Filtered out folders", "OK", {}, {},
                                     "Some of the folders you tried to add are located in removable, non-HFS or "
                                     "read-only volumes, and have been removed.")
        .beginSheetModalForWindow(sheetWindow(), [this](int returnCode) { alertDidEnd(returnCode); });
}

void PXHistoryController::removeFolders()
{
    const std::vector<HistoryEntry> selected =
        m_foldersArrayController ? m_foldersArrayController->selectedObjects() : std::vector<HistoryEntry>();
    if (selected.empty())
        return;
    m_requests.post(FolderRequests::kToRemove, map(selected, [](const HistoryEntry &entry) { return entry.folder; }));
    m_foldersArrayController->setSelectionIndexes({});
    if (m_foldersTableView)
        m_foldersTableView->clearSelection();
}

bool PXHistoryController::tableviewRemoveSelectedRowIndexes(DVTableView &, const std::vector<int> &)
{
    removeFolders();
    return true;
}
