#include "Platform/Services.h"

#include "Platform/Linux/LinuxAliasManager.h"
#include "Platform/Linux/LinuxBundles.h"
#include "Platform/Linux/LinuxFileLeases.h"
#include "Platform/Linux/LinuxFileSystem.h"
#include "Platform/Linux/LinuxLoginWindow.h"
#include "Platform/Linux/LinuxProcesses.h"
#include "Platform/Linux/LinuxSuddenTermination.h"
#include "Platform/Linux/LinuxSystemVersion.h"
#include "Platform/Linux/LinuxThisProcess.h"
#include "Platform/Linux/LinuxTransparentCompression.h"
#include "Platform/Linux/LinuxUserFolders.h"
#include "Platform/Linux/LinuxVolumes.h"

/// Installs an `Implementation` that is never freed, where no service is installed yet: threads may ask it for
/// something while the process ends.
template <class Service, class Implementation>
static void installWhereMissing()
{
    if (!Service::isInstalled())
        Service::install(new Implementation);
}

void installEngineServices()
{
    installWhereMissing<Bundles, LinuxBundles>();
    installWhereMissing<AliasManager, LinuxAliasManager>();
    installWhereMissing<FileLeases, LinuxFileLeases>();
    installWhereMissing<FileSystem, LinuxFileSystem>();
    installWhereMissing<LoginWindow, LinuxLoginWindow>();
    installWhereMissing<Processes, LinuxProcesses>();
    if (!SuddenTermination::isInstalled())
        SuddenTermination::install(&LinuxSuddenTermination::instance());
    installWhereMissing<SystemVersion, LinuxSystemVersion>();
    installWhereMissing<ThisProcess, LinuxThisProcess>();
    installWhereMissing<TransparentCompression, LinuxTransparentCompression>();
    installWhereMissing<UserFolders, LinuxUserFolders>();
    installWhereMissing<Volumes, LinuxVolumes>();
}
