// What the history says: the rows of the table and the sums.
#include "Classes/PrefPane/PXHistoryController.h"

#include "Classes/PrefPane/PXDefaultsController.h"
#include "Classes/Shared/RQAlias.h"

#include <utility>

void PXHistoryController::refreshTotalSavings()
{
    HistoryContext *context = managedObjectContext();
    m_totalSavings = context ? context->sumOfSavings() : 0;
    Q_EMIT totalSavingsChanged();
}

void PXHistoryController::updatePreviousSavings()
{
    std::vector<int> selection;
    int count = -1;
    if (m_foldersArrayController) {
        selection = m_foldersArrayController->selectionIndexes();
        count = static_cast<int>(m_foldersArrayController->arrangedObjects().size());
    }
    readHistory();
    const HistoryPredicate removedFolders{HistoryModel::kEnabled, false};
    HistoryContext *context = managedObjectContext();
    m_previousSavings = context ? context->sumOfSavings(&removedFolders) : 0;
    if (m_previousSavings != 0)
        m_historyArray.push_back(historyEntryForSavings(m_previousSavings));
    Q_EMIT historyArrayChanged();
    if (m_foldersArrayController && static_cast<int>(m_historyArray.size()) == count)
        m_foldersArrayController->setSelectionIndexes(selection);
    readRefusals();
    readLockedStoreLater();
}

void PXHistoryController::savingsNeedRefreshing(const Notification &)
{
    HistoryContext *context = managedObjectContext();
    if (context)
        context->refresh(managedObjectModel()->fetchRequestTemplate("historyForEnabledFolders"));
    refreshTotalSavings();
    updatePreviousSavings();
}

void PXHistoryController::readRefusals()
{
    HistoryContext *context = managedObjectContext();
    std::vector<FolderRefusal> refusals = context ? context->refusals() : std::vector<FolderRefusal>();
    refusals.insert(refusals.begin(), m_untold.begin(), m_untold.end());
    if (std::exchange(m_refusals, std::move(refusals)) != m_refusals)
        Q_EMIT refusalsChanged();
}

/// Until a locked store is free the pane shows it as empty; nobody may announce savings again by then.
void PXHistoryController::readLockedStoreLater()
{
    if (m_managedObjectContext && m_managedObjectContext->isStoreLocked())
        m_lockedStoreTimer.start();
    else
        m_lockedStoreTimer.stop();
}

static HistoryEntry entryAt(const HistoryRecord &record, const std::string &place)
{
    return {HistoryEntry::kFolderSortID, place, place, record.status, record.savings, record.isEnabled};
}

std::optional<HistoryEntry> PXHistoryController::historyEntryFor(const HistoryRecord *record)
{
    if (!record)
        return std::nullopt;
    return entryAt(*record, FolderPlaces::placeOf(*record));
}

HistoryEntry PXHistoryController::historyEntryForSavings(ByteCount savings)
{
    return {HistoryEntry::kOtherSortID,
            "Other",
            "Savings obtained from previously selected folders",
            100,
            savings,
            std::nullopt};
}

void PXHistoryController::readHistory()
{
    m_historyArray.clear();
    HistoryContext *context = managedObjectContext();
    if (!context)
        return;
    const std::vector<HistoryRecord> records = context->executeFetchRequest(&m_foldersFilter);
    const std::vector<std::string> places = m_folderPlaces.placesOf(records);
    for (std::size_t i = 0; i < records.size(); ++i)
        m_historyArray.push_back(entryAt(records[i], places[i]));
}

std::vector<Bytes> PXHistoryController::folderAliases()
{
    std::vector<Bytes> aliases;
    HistoryContext *context = managedObjectContext();
    if (!context)
        return aliases;
    for (HistoryRecord &record : context->executeFetchRequest()) {
        if (!record.alias.empty())
            aliases.push_back(std::move(record.alias));
    }
    return aliases;
}

std::optional<std::vector<std::string>> PXHistoryController::folders()
{
    const std::vector<Bytes> aliases = folderAliases();
    if (aliases.empty())
        return std::nullopt;
    std::vector<std::string> folders;
    for (const Bytes &data : aliases) {
        const RQAlias alias = RQAlias::aliasWithData(data);
        const std::optional<Path> path = FolderPlaces::folderOf(alias);
        const std::optional<PropertyList> info = path ? std::nullopt : alias.originalAliasInfo();
        const std::string folder = path ? path->native() : info ? info->string("pathString") : std::string();
        if (!folder.empty())
            folders.push_back(folder);
    }
    return folders;
}

/// The row that sums up former folders goes last in every order.
bool PXHistoryController::isOtherRow(int row) const
{
    return m_previousSavings != 0 && row + 1 == static_cast<int>(m_historyArray.size());
}

void PXHistoryController::tableViewWillDisplayCell(HistoryCell &cell, int, int row) const
{
    cell.isEnabled = !isOtherRow(row);
    cell.state = PXDefaultsController::sharedDefaultsController()->helperActive();
}

bool PXHistoryController::tableViewShouldSelectRow(int row) const
{
    return !isOtherRow(row);
}
