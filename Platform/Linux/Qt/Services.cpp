#include "Platform/Services.h"

#include "Platform/Linux/Qt/BusApplicationName.h"
#include "Platform/Linux/Qt/BusNotificationCenter.h"
#include "Platform/Linux/Qt/LinuxWorkspace.h"
#include "Platform/Linux/Qt/PortalAppearance.h"
#include "Platform/Linux/Qt/PortalFolderChooser.h"
#include "Platform/Linux/Qt/QtHostApplication.h"
#include "Platform/Linux/Qt/SessionBus.h"

/// Makes the service unless there is one. Never freed: panes and their sheets may outlive the application object.
template <class Kind, class Real, class... Arguments>
static void installOnce(Arguments &...arguments)
{
    if (!Kind::isInstalled())
        Kind::install(new Real(arguments...));
}

void installPaneServices()
{
    static auto &s_bus = *new SessionBus;
    installOnce<ApplicationName, BusApplicationName>(s_bus);
    installOnce<DesktopAppearance, PortalAppearance>(s_bus);
    installOnce<DistributedNotificationCenter, BusNotificationCenter>(s_bus);
    installOnce<FolderChooser, PortalFolderChooser>(s_bus);
    installOnce<HostApplication, QtHostApplication>();
    installOnce<Workspace, LinuxWorkspace>(s_bus);
}
