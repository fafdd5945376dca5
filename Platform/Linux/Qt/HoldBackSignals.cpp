#include "Platform/Linux/LinuxSuddenTermination.h"
#include "Platform/Services.h"

#include <QCoreApplication>
#include <QSocketNotifier>
#include <QtDebug>

static void watchForSignals()
{
    auto &termination = LinuxSuddenTermination::instance();
    auto *const notifier =
        new QSocketNotifier(termination.wakeDescriptor(), QSocketNotifier::Read, QCoreApplication::instance());
    QObject::connect(notifier, &QSocketNotifier::activated, notifier, [&termination] {
        if (termination.takeEnd())
            QCoreApplication::quit();
    });
}

void holdBackSignals()
{
    auto &termination = LinuxSuddenTermination::instance();
    if (termination.wakeDescriptor() >= 0)
        return;
    if (!termination.catchSignals()) {
        qWarning("Signals cannot be held back");
        return;
    }
    // Runs when the application object is made, or now if there is one.
    qAddPreRoutine(watchForSignals);
}
