#include "Classes/PrefPane/TamselPref.h"

#include "Classes/PrefPane/IconButton.h"
#include "Classes/PrefPane/PXDefaultsController.h"
#include "Classes/PrefPane/PXExclusionsController.h"
#include "Classes/PrefPane/PXHistoryController.h"
#include "Classes/PrefPane/PXUncompressorController.h"
#include "Classes/PrefPane/TamselPrefView.h"
#include "Platform/LoginWindow.h"
#include "Platform/Workspace.h"
#include "Resources/ui_TamselPref.h"

QWidget *TamselPref::loadMainView()
{
    // The history controller is an object of the interface: it is made here, before anybody asks for the shared one.
    PXHistoryController::alloc();
    m_view = new TamselPrefView(bundle());
    connectHistory();
    connectExclusions();
    connectUncompressor();
    makeSheets();
    connectControls();
    return m_view;
}

void TamselPref::connectHistory()
{
    PXHistoryController *const history = PXHistoryController::sharedHistoryController();
    history->setFoldersTableView(m_view->ui().foldersTableView);
    history->setFoldersArrayController(new FoldersArrayController(m_view));
    history->awakeFromNib();
    foldersTableView()->setDataSource(this);
    m_view->followFolders(history->foldersArrayController());
    m_view->setTotalSavings(history->totalSavings());
    connect(history, &PXHistoryController::totalSavingsChanged, m_view,
            [view = m_view, history] { view->setTotalSavings(history->totalSavings()); });
    m_view->setRefusals(history->refusals());
    connect(history, &PXHistoryController::refusalsChanged, m_view,
            [view = m_view, history] { view->setRefusals(history->refusals()); });
}

void TamselPref::connectExclusions()
{
    m_exclusions = new PXExclusionsController;
    ExclusionsView *const view = m_view->ui().exclusionsTab;
    view->follow(m_exclusions, [] {
        std::vector<std::string> folders;
        for (const HistoryEntry &entry : PXHistoryController::sharedHistoryController()->historyArray()) {
            if (entry.enabled.value_or(false))
                folders.push_back(entry.path);
        }
        return folders;
    });
    connect(PXHistoryController::sharedHistoryController(), &PXHistoryController::historyArrayChanged, view,
            &ExclusionsView::watchedFoldersChanged);
}

void TamselPref::connectUncompressor()
{
    m_uncompressor = new PXUncompressorController;
    m_uncompressor->setExclusionsController(m_exclusions);
    m_view->ui().uncompressTab->setIcon(m_view->icon(56));
    m_view->ui().uncompressTab->follow(m_uncompressor);
}

/// The actions of the interface. What belongs to the settings is connected once these are made.
void TamselPref::connectControls()
{
    const Ui::TamselPref &ui = m_view->ui();
    connect(ui.switchView, &SwitchView::clicked, this, [this] { toggleActive(m_view->ui().switchView); });
    connect(ui.iconButton, &QAbstractButton::clicked, this, &TamselPref::addBubble);
    connect(ui.addFolderButton, &QAbstractButton::clicked, this, &TamselPref::addFolder);
    connect(ui.removeFolderButton, &QAbstractButton::clicked, this, &TamselPref::removeFolder);
    connect(m_view, &TamselPrefView::addFolderWanted, this, &TamselPref::addFolder);
    connect(m_view, &TamselPrefView::pasted, this, &TamselPref::pasteFolders);
    connect(ui.checkForUpdatesButton, &QAbstractButton::clicked, this, &TamselPref::checkForUpdates);
    connect(ui.helpButton, &QAbstractButton::clicked, this, &TamselPref::help);
    connect(ui.siteButton, &QAbstractButton::clicked, this, &TamselPref::visitSite);
    connect(ui.uninstallButton, &QAbstractButton::clicked, this, &TamselPref::confirmUninstall);
}

void TamselPref::connectView()
{
    PXDefaultsController *const settings = PXDefaultsController::sharedDefaultsController();
    m_view->follow(settings);
    connect(m_view->ui().toggleActiveButton, &QAbstractButton::toggled, this, &TamselPref::takeOverSwitch);
    connect(m_view, &TamselPrefView::automaticUpdatesChosen, settings, &PXDefaultsController::setCheckForUpdates);
    connect(m_view, &TamselPrefView::visibleChosen, settings, &PXDefaultsController::setVisible);
    connect(m_view, &TamselPrefView::autorunAtLoginChosen, settings, &PXDefaultsController::setAutorunAtLogin);
    // Whatever was asked for, the box shows what the list holds.
    connect(settings, &PXDefaultsController::autorunAtLoginChanged, this, &TamselPref::showLoginItem);
    connect(this, &TamselPref::autorunAtLoginChanged, this, &TamselPref::showLoginItem);

    const std::string helper = "com.dovrane.TamselHelper";
    m_view->setHelperRunning(Workspace::current().isRunning(helper));
    Workspace::current().watchRunning(helper, [view = m_view](bool isRunning) {
        if (view)
            view->setHelperRunning(isRunning);
    });
    connect(PXHistoryController::sharedHistoryController(), &PXHistoryController::helperMissed, this, [this, helper] {
        if (!Workspace::current().isRunning(helper))
            launchHelper();
    });
}

void TamselPref::showLoginItem()
{
    const auto items = LoginWindow::current().copyItems();
    if (m_view)
        m_view->setLoginItem(autorunAtLogin(), items && items->has_value());
}

QTabWidget *TamselPref::tabView() const
{
    return m_view ? m_view->ui().tabView : nullptr;
}

QLabel *TamselPref::versionNumberTextField() const
{
    return m_view ? m_view->ui().versionNumberTextField : nullptr;
}

QAbstractButton *TamselPref::toggleActiveButton() const
{
    return m_view ? m_view->ui().toggleActiveButton : nullptr;
}

IconButton *TamselPref::iconButton() const
{
    return m_view ? m_view->ui().iconButton : nullptr;
}

DVTableView *TamselPref::foldersTableView() const
{
    return m_view ? m_view->ui().foldersTableView : nullptr;
}
