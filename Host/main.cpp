#include "Host/HostOptions.h"
#include "Host/HostSession.h"
#include "Host/PreferencesApplication.h"
#include "Platform/Services.h"

#include <cstdlib>

int main(int argc, char **argv)
{
    ::setenv("DBUS_FATAL_WARNINGS", "0", 1); // or a message that the bus library does not like ends the process
    endIfAskedForHelp(argc, argv);
    installEngineServices();
    holdBackSignals();
    leaveSilentBus();
    PreferencesApplication application(argc, argv);
    installPaneServices();
    HostSession session(application, readHostOptions(QCoreApplication::arguments()));
    session.start();
    return QCoreApplication::exec();
}
