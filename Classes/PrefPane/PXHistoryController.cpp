#include "Classes/PrefPane/PXHistoryController.h"

#include "Classes/PrefPane/HistorySeed.h"
#include "Classes/Shared/Error.h"
#include "Classes/Shared/Log.h"
#include "Classes/Util/PXUtil.h"
#include "Platform/Bundle.h"
#include "Platform/HostApplication.h"
#include "Platform/Workspace.h"

#include <QHeaderView>

using namespace std::chrono_literals;

static constexpr auto kLockedStoreRetry = 1s;

void PXHistoryController::init()
{
    m_foldersFilter = {HistoryModel::kEnabled, true};
    DistributedNotificationCenter::current().addObserver(
        "pellixSavingsChanged", [this](const Notification &notification) { savingsNeedRefreshing(notification); });
    m_lockedStoreTimer.setSingleShot(true);
    m_lockedStoreTimer.setInterval(kLockedStoreRetry);
    connect(&m_lockedStoreTimer, &QTimer::timeout, this, [this] { savingsNeedRefreshing({}); });
    // A disk that is plugged in again may bring a folder back, at another place perhaps.
    Workspace::current().watchVolumes([this] {
        m_folderPlaces.expire();
        Q_EMIT foldersChanged();
    });
    connect(&m_requests, &FolderRequests::helperMissed, this, &PXHistoryController::helperMissed);
    connect(&m_folderPlaces, &FolderPlaces::changed, this, &PXHistoryController::foldersChanged);
    refreshTotalSavings();
    updatePreviousSavings();
    connect(this, &PXHistoryController::foldersChanged, this, &PXHistoryController::updatePreviousSavings);
}

void PXHistoryController::setFoldersTableView(DVTableView *view)
{
    m_foldersTableView = view;
    connectTable();
}

void PXHistoryController::setFoldersArrayController(FoldersArrayController *controller)
{
    if (m_foldersArrayController)
        disconnect(this, nullptr, m_foldersArrayController, nullptr);
    m_foldersArrayController = controller;
    controller->setRules(this);
    controller->setContent(m_historyArray);
    connect(this, &PXHistoryController::historyArrayChanged, controller,
            [this, controller] { controller->setContent(m_historyArray); });
    connectTable();
}

void PXHistoryController::connectTable()
{
    if (!m_foldersTableView || !m_foldersArrayController)
        return;
    m_foldersTableView->setModel(m_foldersArrayController);
    m_foldersTableView->setSelectionModel(m_foldersArrayController->selectionModel());
    m_foldersTableView->setTableDelegate(this);
}

void PXHistoryController::awakeFromNib()
{
    using Selector = SortDescriptor::Selector;
    if (!m_foldersTableView || !m_foldersArrayController)
        return;
    m_foldersArrayController->setSortDescriptors(
        {PXSortDescriptor(HistoryEntry::kFolder, true, Selector::LastPathComponentCompare),
         PXSortDescriptor(HistoryEntry::kPath, true, Selector::CaseInsensitiveCompare),
         PXSortDescriptor(HistoryEntry::kStatus), PXSortDescriptor(HistoryEntry::kSavings)});
    m_foldersTableView->horizontalHeader()->setSortIndicator(FoldersArrayController::FolderColumn, Qt::AscendingOrder);
    m_foldersTableView->setSortingEnabled(true);
}

const HistoryModel *PXHistoryController::managedObjectModel()
{
    if (!m_isModelRead) {
        m_isModelRead = true;
        const std::optional<Bundle> bundle = Bundles::current().withIdentifier(kPaneIdentifier);
        const std::optional<Path> file =
            bundle ? bundle->resource(HistoryModel::kResourceName, HistoryModel::kResourceType) : std::nullopt;
        Result<HistoryModel> model =
            file ? HistoryModel::read(*file) : Failure{ErrorCode::NotFound, 0, "the bundle has no history model"};
        if (model)
            m_managedObjectModel = *std::move(model);
        else
            logLine(model.failure().context);
    }
    return m_managedObjectModel ? &*m_managedObjectModel : nullptr;
}

HistoryStore *PXHistoryController::persistentStoreCoordinator()
{
    if (!m_isStoreTried) {
        m_isStoreTried = true;
        if (const HistoryModel *model = managedObjectModel())
            m_persistentStoreCoordinator = openStore(*model);
        else
            reportMissingModel();
    }
    return m_persistentStoreCoordinator.get();
}

void PXHistoryController::reportMissingModel() const
{
    logLine("*** Assertion failure in PXHistoryController persistentStoreCoordinator, PXHistoryController: "
            "Managed object model is nil");
    logLine("PXHistoryController:persistentStoreCoordinator No model to generate a store from");
}

std::unique_ptr<HistoryStore> PXHistoryController::openStore(const HistoryModel &model)
{
    const std::optional<Path> folder = PXUtil::applicationSupportFolder();
    if (!folder) {
        reportCreationFailure({ErrorCode::NotFound, 0, "there is no application support folder"});
        return nullptr;
    }
    const Path file = *folder / kStoreFileName;
    const std::optional<Bundle> bundle = Bundles::current().withIdentifier(kPaneIdentifier);
    const std::optional<Path> seed =
        bundle ? bundle->resource(HistorySeed::kResourceName, HistorySeed::kResourceType) : std::nullopt;
    if (const Result<void> made = HistorySeed::makeStore(file, seed.value_or(Path())); !made) {
        reportCreationFailure(made.failure());
        return nullptr;
    }
    Result<std::unique_ptr<HistoryStore>> store = HistoryStore::open(file, model);
    if (!store) {
        HostApplication::current().presentError(tr("The history of savings could not be opened.").toStdString(),
                                                store.failure().context);
        return nullptr;
    }
    return *std::move(store);
}

void PXHistoryController::reportCreationFailure(const Failure &failure)
{
    m_isTerminating = true;
    logLine("Error in Tamsel database creation: " + failure.context);
    HostApplication::current().runModalAlert(
        "Database Creation Issue",
        "Tamsel information database could not be created. Ensure you have enough disk space and write permissions to "
        "this user's application support folder.\rTamsel will now quit.",
        "OK");
    HostApplication::current().terminate();
}

HistoryContext *PXHistoryController::managedObjectContext()
{
    if (m_managedObjectContext)
        return m_managedObjectContext.get();
    if (HistoryStore *store = persistentStoreCoordinator()) {
        m_managedObjectContext = std::make_unique<HistoryContext>(*store);
        return m_managedObjectContext.get();
    }
    // Who is on the way out has been told why.
    if (!m_isTerminating) {
        const Error error{kErrorDomain, kStoreErrorCode, "Failed to initialize the store"};
        logLine(error.domain + " " + std::to_string(error.code) + ": " + error.message);
        HostApplication::current().presentError(error.message, "There was an error building up the data file.");
    }
    return nullptr;
}

QUndoStack *PXHistoryController::windowWillReturnUndoManager()
{
    HistoryContext *context = managedObjectContext();
    return context ? context->undoManager() : nullptr;
}
