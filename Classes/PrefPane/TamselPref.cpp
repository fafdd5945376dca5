#include "Classes/PrefPane/TamselPref.h"

#include "Classes/PrefPane/ConfirmationSheet.h"
#include "Classes/PrefPane/IconButton.h"
#include "Classes/PrefPane/PXDefaultsController.h"
#include "Classes/PrefPane/PXExclusionsController.h"
#include "Classes/PrefPane/PXHistoryController.h"
#include "Classes/PrefPane/PXPreferenceCommunicator.h"
#include "Classes/PrefPane/PXUncompressorController.h"
#include "Classes/PrefPane/TamselPrefView.h"
#include "Classes/Shared/Log.h"
#include "Platform/DistributedNotificationCenter.h"
#include "Platform/HostApplication.h"
#include "Platform/Workspace.h"
#include "Resources/ui_TamselPref.h"

static constexpr const char *kHelperIdentifier = "com.dovrane.TamselHelper";
static const std::string kSite = "https://www.tamsel.example";

static PXDefaultsController *settings()
{
    return PXDefaultsController::sharedDefaultsController();
}

TamselPref::TamselPref(Bundle bundle)
    : PreferencePane(std::move(bundle))
{
}

TamselPref::~TamselPref()
{
    if (m_view)
        foldersTableView()->setDataSource(nullptr);
    // A sheet that was shown belongs to its window.
    for (const QPointer<ConfirmationSheet> &sheet : {m_uninstallSheet, m_restartSheet}) {
        if (sheet && !sheet->parentWidget())
            delete sheet;
    }
}

void TamselPref::mainViewDidLoad()
{
    versionNumberTextField()->setText(QString::fromStdString(version()));
    observe("com.dovrane.tamsel.relaunch", &TamselPref::warnAndRelaunchSystemPreferences);
    checkIfRenamingIsNecessary();
    PXDefaultsController::alloc();
    PXPreferenceCommunicator::alloc();
    if (settings()->firstRun())
        firstRunInit();
    PXHistoryController::sharedHistoryController()->managedObjectContext();
    checkRunningHelperVersion();
    launchHelper();
    settings()->setCheckForUpdates(settings()->checkForUpdates());
    observe("com.dovrane.tamsel.show.history", &TamselPref::showHistory);
    observe("com.dovrane.tamsel.restarting.after.update", &TamselPref::relaunchSystemPreferences);
    DistributedNotificationCenter::current().addObserver(
        "com.dovrane.tamsel.quit", [](const Notification &) { HostApplication::current().terminate(); });
    observeVisible();
    foldersTableView()->setAcceptDrops(true);
    connect(settings(), &PXDefaultsController::autorunAtLoginChanged, this, &TamselPref::setAutorunAtLogin);
    regenerateAutologinItem();
    HostApplication::current().activate(true);
    connectView();
}

void TamselPref::didSelect()
{
    HostApplication::current().activate(false);
    if (!Workspace::current().isRunning(kHelperIdentifier))
        launchHelper();
    if (!m_view)
        return;
    setActiveButton(settings()->helperActive(), false);
    toggleActiveButton()->setChecked(settings()->helperActive());
    showLoginItem();
}

void TamselPref::didUnselect()
{
    if (!settings()->helperActive())
        PXPreferenceCommunicator::sharedCommunicatorController()->notifyHelperShouldQuit();
}

bool TamselPref::mayClose(std::function<void()> close)
{
    return !m_uncompressor || m_uncompressor->mayClose(std::move(close));
}

void TamselPref::handleRequest(const std::string &request)
{
    const bool isOn = settings()->helperActive();
    if (m_exclusions && m_exclusions->handleRequest(request))
        return;
    if (!m_view || (request != "on" && request != "off") || isOn == (request == "on"))
        return;
    toggleActiveButton()->setChecked(isOn); // as it is before the first selection, too
    toggleActive(nullptr);
}

void TamselPref::firstRunInit()
{
    settings()->setFirstRunDone();
}

void TamselPref::observe(const char *name, void (TamselPref::*handler)())
{
    DistributedNotificationCenter::current().addObserver(name, [self = QPointer(this), handler](const Notification &) {
        if (self)
            (self->*handler)();
    });
}

void TamselPref::observeVisible()
{
    connect(settings(), &PXDefaultsController::visibleChanged, this,
            [] { DistributedNotificationCenter::current().post("com.dovrane.tamsel.visible"); });
}

void TamselPref::checkForUpdates()
{
    PXPreferenceCommunicator::sharedCommunicatorController()->notifyHelperShouldCheckForUpdates();
}

void TamselPref::showHistory()
{
    if (tabView())
        tabView()->setCurrentIndex(0);
}

static void openPage(const std::string &url)
{
    if (const Result<void> opened = Workspace::current().openUrl(url); !opened)
        logLine("Could not open " + url + ": " + opened.failure().context);
}

void TamselPref::help()
{
    openPage(kSite + "/tamsel/FAQ.html");
}

void TamselPref::visitSite()
{
    openPage(kSite + "/");
}
