#include "Classes/PrefPane/TamselPref.h"

#include "Classes/PrefPane/ConfirmationSheet.h"
#include "Classes/PrefPane/PXPreferenceCommunicator.h"
#include "Classes/PrefPane/TamselPrefView.h"
#include "Platform/FileSystem.h"
#include "Platform/HostApplication.h"

#include <QFile>
#include <QPushButton>

/// Ends the sheet that the host's main window shows, if it shows one.
static void endAttachedSheet()
{
    if (QDialog *const sheet = HostApplication::current().attachedSheet(HostApplication::current().mainWindow()))
        sheet->done(QDialog::Rejected);
}

void TamselPref::makeSheets()
{
    auto *const uninstallSheet = new ConfirmationSheet(
        tr("Uninstall Tamsel?"),
        tr("The pane, its helper and the login item are removed. Your files, your settings and the history of what was "
           "saved stay where they are."),
        tr("Uninstall"), tr("Cancel"));
    uninstallSheet->setObjectName(QStringLiteral("uninstallSheet"));
    connect(uninstallSheet->actionButton(), &QAbstractButton::clicked, this, &TamselPref::uninstall);
    connect(uninstallSheet->cancelButton(), &QAbstractButton::clicked, this, &TamselPref::cancelSheet);

    auto *const restartSheet = new ConfirmationSheet(
        tr("System Preferences needs a restart"), tr("Tamsel is still loaded until System Preferences is restarted."),
        tr("Restart Now"), tr("Later"));
    restartSheet->setObjectName(QStringLiteral("restartSheet"));
    connect(restartSheet->actionButton(), &QAbstractButton::clicked, this, &TamselPref::restart);
    connect(restartSheet->cancelButton(), &QAbstractButton::clicked, this, &TamselPref::cancelSheetAction);

    const QPixmap picture = m_view->icon(56);
    uninstallSheet->setPicture(picture);
    restartSheet->setPicture(picture);
    m_uninstallSheet = uninstallSheet;
    m_restartSheet = restartSheet;
}

QDialog *TamselPref::uninstallSheet() const
{
    return m_uninstallSheet;
}

QDialog *TamselPref::restartSheet() const
{
    return m_restartSheet;
}

void TamselPref::confirmUninstall()
{
    showCustomSheet(m_uninstallSheet);
}

void TamselPref::uninstall()
{
    endAttachedSheet();
    if (autorunAtLogin())
        setAutorunAtLogin(false);
    relaunchSystemPreferences();
    PXPreferenceCommunicator::sharedCommunicatorController()->notifyHelperShouldQuit();
    removeOwnFiles();
    sayWhatIsLeft();
    showCustomSheet(m_restartSheet);
}

/// The remover leaves what is not the user's alone; whoever restarts finds the pane there again.
void TamselPref::sayWhatIsLeft()
{
    if (!m_restartSheet || !FileSystem::current().status(bundle().path()))
        return;
    m_restartSheet->setTexts(
        tr("Tamsel could not be removed"),
        tr("It is installed for all users, or lies where it may not be deleted from here. Remove it with the package "
           "manager, or delete %1 by hand, and then restart System Preferences. The helper has been told to end, and "
           "it is no longer started at login.")
            .arg(QFile::decodeName(bundle().path().c_str())));
}

void TamselPref::showCustomSheet(QDialog *sheet)
{
    QWidget *const window = HostApplication::current().mainWindow();
    if (!sheet || HostApplication::current().attachedSheet(window) == sheet)
        return;
    HostApplication::current().beginSheet(sheet, window, [self = QPointer(this), sheet = QPointer(sheet)](int) {
        if (self && sheet)
            self->didEndSheet(sheet);
    });
}

void TamselPref::didEndSheet(QDialog *sheet)
{
    sheet->hide();
}

void TamselPref::cancelSheet()
{
    endAttachedSheet();
}

void TamselPref::cancelSheetAction()
{
    endAttachedSheet();
}

void TamselPref::restart()
{
    endAttachedSheet();
    HostApplication::current().terminate();
}
