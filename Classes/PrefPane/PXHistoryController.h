#pragma once

#include "Classes/PrefPane/AddFoldersRequest.h"
#include "Classes/PrefPane/DVTableView.h"
#include "Classes/PrefPane/FolderPlaces.h"
#include "Classes/PrefPane/FolderRequests.h"
#include "Classes/PrefPane/FoldersArrayController.h"
#include "Classes/PrefPane/HistoryContext.h"
#include "Classes/PrefPane/HistoryEntry.h"
#include "Classes/PrefPane/HistoryModel.h"
#include "Classes/PrefPane/HistoryStore.h"
#include "Classes/Shared/SharedInstance.h"
#include "Platform/DistributedNotificationCenter.h"

#include <QObject>
#include <QPointer>
#include <QTimer>

#include <memory>
#include <optional>
#include <string>
#include <vector>

/// The pane's read-only view of the history: the watched folders, what each has saved, and the sums. Reads the store
/// again whenever the helper announces savings, and every second while another process has it locked. What the user
/// adds or removes it only tells the helper. One per process, made with the interface; main thread.
class PXHistoryController final : public QObject, public FoldersTableRules, public DVTableViewDelegate
{
    Q_OBJECT
    Q_PROPERTY(qulonglong totalSavings READ totalSavings NOTIFY totalSavingsChanged)

public:
    static constexpr const char *kErrorDomain = "com.dovrane.tamsel.error";
    static constexpr int kStoreErrorCode = 9999;
    static constexpr const char *kPaneIdentifier = "com.dovrane.Tamsel";
    static constexpr const char *kStoreFileName = "history.db";

    static PXHistoryController *sharedHistoryController() { return SharedInstance<PXHistoryController>::shared(); }

    /// Makes the instance, or answers nullptr when there is one.
    static PXHistoryController *alloc() { return SharedInstance<PXHistoryController>::alloc(); }

    /// The outlets, set by the interface. The table shows the array controller, which shows `historyArray`.
    void setFoldersTableView(DVTableView *view);
    void setFoldersArrayController(FoldersArrayController *controller);
    DVTableView *foldersTableView() const { return m_foldersTableView; }
    FoldersArrayController *foldersArrayController() const { return m_foldersArrayController; }

    /// To be called once the outlets are set: gives the table its orders.
    void awakeFromNib();

    /// The model of the pane's bundle; nullptr when there is none. Read once.
    const HistoryModel *managedObjectModel();

    /// The store, made and opened on the first call. One that could not be opened stays nullptr; the user was told.
    /// When it could not be made, the user was told and the application asked to end.
    HistoryStore *persistentStoreCoordinator();

    /// The context of the store; nullptr without a store, and the user is told each time.
    HistoryContext *managedObjectContext();

    QUndoStack *windowWillReturnUndoManager();
    void contextChanged() {}

    /// Every record's savings, modulo 2^64; of those no longer watched.
    ByteCount totalSavings() const { return m_totalSavings; }
    ByteCount previousSavings() const { return m_previousSavings; }

    /// The watched folders in the order of their records, then "Other" when former folders have saved something.
    const std::vector<HistoryEntry> &historyArray() const { return m_historyArray; }

    /// The folders of the last request that the helper cannot be told of, then those that it did not take when it was
    /// asked last.
    const std::vector<FolderRefusal> &refusals() const { return m_refusals; }

    void refreshTotalSavings();
    void updatePreviousSavings();
    void savingsNeedRefreshing(const Notification &notification);

    /// The row for a record: the folder where it is now, or as it was recorded. Nothing for no record.
    static std::optional<HistoryEntry> historyEntryFor(const HistoryRecord *record);
    static HistoryEntry historyEntryForSavings(ByteCount savings);

    /// Reads the watched folders into `historyArray`, without "Other".
    void readHistory();

    /// The alias records of all folders ever watched, in the order of their records.
    std::vector<Bytes> folderAliases();

    /// Where they are now, or were when the alias was made; one that says neither is left out. Nothing when there are
    /// no aliases.
    std::optional<std::vector<std::string>> folders();

    /// Asks for the volumes of the folders and answers; what follows from them happens a moment later. A folder that is
    /// chosen twice, or watched already, is for the helper to sort out.
    void addFolders(std::vector<std::string> folders);

    /// Asks the user about the folders that need a warning, tells the helper which to watch, and the user when some
    /// were dropped. The helper is told even when none is left.
    void processAddFoldersRequest(AddFoldersRequest request);

    /// Tells the helper to let the selected folders go, and selects only those that it cannot be told of. The list
    /// changes when the helper says so.
    void removeFolders();

    void warnAboutRemovedFolders();
    void alertDidEnd(int) {}

    bool tableviewRemoveSelectedRowIndexes(DVTableView &table, const std::vector<int> &rows) override;

    void tableViewWillDisplayCell(HistoryCell &cell, int column, int row) const override;
    bool tableViewShouldSelectRow(int row) const override;

Q_SIGNALS:
    void totalSavingsChanged();
    void historyArrayChanged();
    void foldersChanged();
    void refusalsChanged();

    /// No helper has heard of the folders; it is told once one runs.
    void helperMissed();

private:
    friend class SharedInstance<PXHistoryController>;

    PXHistoryController() = default;
    void init();
    void reportMissingModel() const;
    void reportCreationFailure(const Failure &failure);
    std::unique_ptr<HistoryStore> openStore(const HistoryModel &model);
    void connectTable();
    void readRefusals();
    void requestFolders(const char *key, std::vector<std::string> folders);
    void readLockedStoreLater();
    bool isOtherRow(int row) const;

    std::optional<HistoryModel> m_managedObjectModel;
    std::unique_ptr<HistoryStore> m_persistentStoreCoordinator;
    std::unique_ptr<HistoryContext> m_managedObjectContext;
    bool m_isModelRead = false;
    bool m_isStoreTried = false;
    bool m_isTerminating = false;
    QTimer m_lockedStoreTimer;
    QPointer<DVTableView> m_foldersTableView;
    QPointer<FoldersArrayController> m_foldersArrayController;
    HistoryPredicate m_foldersFilter;
    FolderPlaces m_folderPlaces;
    ByteCount m_totalSavings = 0;
    ByteCount m_previousSavings = 0;
    std::vector<HistoryEntry> m_historyArray;
    FolderRequests m_requests;
    std::vector<FolderRefusal> m_untold; ///< of the last request
    std::vector<FolderRefusal> m_refusals;
};
