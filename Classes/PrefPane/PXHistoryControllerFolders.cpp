// Adding watched folders and removing them: what the user is asked, and what the helper is told.
#include "Classes/PrefPane/PXHistoryController.h"

#include "Classes/Shared/AlertSheet.h"
#include "Classes/Shared/map.h"
#include "Platform/Utf8.h"

using namespace std::chrono_literals;

static constexpr auto kRequestDelay = 10ms;

/// A notification carries text only.
static bool isUntellable(const std::string &folder)
{
    return !isUtf8(folder);
}

void PXHistoryController::requestFolders(const char *key, std::vector<std::string> folders)
{
    m_untold.clear();
    for (const std::string &folder : folders) {
        if (isUntellable(folder))
            m_untold.push_back({folder, FolderRefusal::Reason::NotText});
    }
    std::erase_if(folders, isUntellable);
    m_requests.post(key, folders);
    readRefusals();
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
        requestFolders(FolderRequests::kToAdd, request.accepted);
        if (request.hasDropped())
            warnAboutRemovedFolders();
        return;
    }
    const auto didEnd = [this, request = std::move(request)](int returnCode) mutable {
        const bool hasDropped = request.hasDropped();
        if (returnCode == AlertSheet::kAlternateReturn)
            request.rejectWarned();
        requestFolders(FolderRequests::kToAdd, request.accepted);
        if (hasDropped)
            warnAboutRemovedFolders();
    };
    AlertSheet::alertWithMessageText(
        "Compatibility Warning", "Add Anyway", "Cancel", {},
        "Some of the folders you added are not located in your main boot volume.\r\r"
        "If you disconnect the volume and mount it in an older version of Mac OS or other operating system, compressed "
        "files will not be seen by that OS.\r\r"
        "You can always copy or share compressed files from your Snow Leopard computer.")
        .beginSheetModalForWindow(windowForSheets(), didEnd);
}

void PXHistoryController::warnAboutRemovedFolders()
{
    AlertSheet::alertWithMessageText("Filtered out folders", "OK", {}, {},
                                     "Some of the folders you tried to add are located in removable, non-HFS or "
                                     "read-only volumes, and have been removed.")
        .beginSheetModalForWindow(windowForSheets(), [this](int returnCode) { alertDidEnd(returnCode); });
}

void PXHistoryController::removeFolders()
{
    const std::vector<HistoryEntry> selected =
        m_foldersArrayController ? m_foldersArrayController->selectedObjects() : std::vector<HistoryEntry>();
    if (selected.empty())
        return;
    std::vector<int> remaining = m_foldersArrayController->selectionIndexes();
    std::erase_if(remaining, [&entries = m_foldersArrayController->arrangedObjects()](int row) {
        return !isUntellable(entries[static_cast<std::size_t>(row)].folder);
    });
    requestFolders(FolderRequests::kToRemove, map(selected, [](const HistoryEntry &entry) { return entry.folder; }));
    m_foldersArrayController->setSelectionIndexes(remaining);
    if (m_foldersTableView && remaining.empty())
        m_foldersTableView->clearSelection();
}

bool PXHistoryController::tableviewRemoveSelectedRowIndexes(DVTableView &, const std::vector<int> &)
{
    removeFolders();
    return true;
}
