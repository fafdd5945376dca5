#include "Classes/PrefPane/TamselPref.h"

#include "Classes/PrefPane/PXPreferenceCommunicator.h"
#include "Classes/Shared/AlertSheet.h"
#include "Classes/Shared/Log.h"
#include "Platform/FileSystem.h"
#include "Platform/HostApplication.h"
#include "Platform/UserFolders.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QTimer>

using namespace std::chrono_literals;

static constexpr auto kKeyWindowRetry = 500ms;
static constexpr auto kTerminationDelay = 10ms;
static constexpr ByteCount kToolLimit = 64 << 20;

static std::string replaceAll(std::string text, const std::string &from, const std::string &to)
{
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
    return text;
}

/// The path as it reads once the renamer has given the pane's folder the product's present name.
static std::string withPresentName(const std::string &path)
{
    return replaceAll(replaceAll(path, "Pellix.prefPane", "Tamsel.prefPane"), "Pellixer.prefPane", "Tamsel.prefPane");
}

/// Runs the tool with an empty argument and waits until it exits; what it answers is its own affair.
static void runTool(const Path &tool)
{
    QProcess::execute(QFile::decodeName(tool.c_str()), {QString()});
}

Path TamselPref::relaunchTool() const
{
    const Path helper = helperPath().value_or(Path());
    return helper.native() + "/Contents/Frameworks/Sparkle.framework/Resources/relaunch";
}

void TamselPref::checkIfRenamingIsNecessary()
{
    if (!HostApplication::current().keyWindow()) {
        QTimer::singleShot(kKeyWindowRetry, this, &TamselPref::checkIfRenamingIsNecessary);
        return;
    }
    m_relauncherPath = relaunchTool().native();
    if (const std::optional<Path> renamer = bundle().resource("TamselRenamer"))
        runTool(*renamer);
}

void TamselPref::warnAndRelaunchSystemPreferences()
{
    QWidget *const window = HostApplication::current().keyWindow();
    if (!window) {
        QTimer::singleShot(kKeyWindowRetry, this, &TamselPref::warnAndRelaunchSystemPreferences);
        return;
    }
    HostApplication::current().activate(true);
    AlertSheet::alertWithMessageText("Relaunch Needed", "OK", {}, {},
                                     "This product is now called Tamsel. System Preferences will now be relaunched to "
                                     "apply this change.")
        .beginSheetModalForWindow(window, [self = QPointer(this)](int) {
            if (self)
                self->relaunchAfterRename();
        });
}

void TamselPref::relaunchAfterRename()
{
    PXPreferenceCommunicator::sharedCommunicatorController()->notifyHelperShouldQuit();
    relaunchSystemPreferencesAndPrefPane();
    QTimer::singleShot(kTerminationDelay, this, &TamselPref::terminateHost);
}

void TamselPref::terminateHost()
{
    HostApplication::current().terminate();
}

void TamselPref::relaunchSystemPreferences()
{
    m_relauncherPath = relaunchTool().native();
    const Result<Bundle> host = Bundles::current().main();
    if (!host) {
        logLine("No host bundle to relaunch: " + host.failure().context);
        return;
    }
    startRelaunchTool(host->path().native());
}

void TamselPref::relaunchSystemPreferencesAndPrefPane()
{
    if (!m_relauncherPath)
        m_relauncherPath = relaunchTool().native();
    m_relauncherPath = withPresentName(*m_relauncherPath);
    startRelaunchTool(withPresentName(bundle().path().native()));
}

/// Starts a copy, because what it is copied from may be renamed or removed before the host ends.
void TamselPref::startRelaunchTool(const std::string &path)
{
    const Result<Path> folder = UserFolders::current().temporary();
    if (!folder) {
        logLine("No temporary folder for the relaunch tool: " + folder.failure().context);
        return;
    }
    const Path copy = folder->native() + "relaunch";
    if (const Result<Bytes> tool = FileSystem::current().readFile(*m_relauncherPath, kToolLimit)) {
        // An earlier copy does as well.
        static_cast<void>(FileSystem::current().createFile(copy, *tool, 0755));
    }
    const QString process = QString::number(QCoreApplication::applicationPid());
    if (!QProcess::startDetached(QFile::decodeName(copy.c_str()), {QFile::decodeName(path.c_str()), process}))
        logLine("The relaunch tool could not be started: " + copy.native());
}

void TamselPref::removeOwnFiles()
{
    runTool(bundle().path() / "Contents" / "Resources" / "TamselRemover");
}
