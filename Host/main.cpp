#include "Host/HostOptions.h"
#include "Host/HostSession.h"
#include "Host/PreferencesApplication.h"
#include "Platform/DistributedNotificationCenter.h"
#include "Platform/Services.h"
#include "Platform/ThisProcess.h"

#include <cstdlib>

int main(int argc, char **argv)
{
    ::setenv("DBUS_FATAL_WARNINGS", "0", 1); // or a message that the bus library does not like ends the process
    endIfAskedForHelp(argc, argv);
    installEngineServices();
    holdBackSignals();
    leaveSilentBus();
    PreferencesApplication application(argc, argv);
    returnToBus();
    installPaneServices();
    HostSession session(application, readHostOptions(QCoreApplication::arguments()));
    session.start();
    const int status = QCoreApplication::exec();
    // A connection that is still being made to a bus that never answers would be waited for.
    if (!DistributedNotificationCenter::current().isConnected())
        ThisProcess::current().exitAtOnce(status);
    return status;
}
