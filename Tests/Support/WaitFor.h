#pragma once

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>

/// Runs the event loop until `condition` holds, for `timeoutMs` at most; answers whether it does.
template <class Condition>
bool waitFor(Condition condition, int timeoutMs = 30000)
{
    QElapsedTimer elapsed;
    elapsed.start();
    while (!condition()) {
        if (elapsed.elapsed() > timeoutMs)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 10);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    return true;
}

/// Runs the event loop for that long: for what must not happen.
inline void runFor(int durationMs)
{
    waitFor([] { return false; }, durationMs);
}
