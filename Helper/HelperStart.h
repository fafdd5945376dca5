#pragma once

#include "Platform/ThisProcess.h"
#include "Platform/Types.h"

#include <QElapsedTimer>
#include <QObject>

#include <memory>
#include <string>

/// Admits one helper: the one that holds the lock file. Another start hands over to it. Main thread.
class HelperStart final : public QObject
{
    Q_OBJECT

public:
    /// `identifier` is the name by which the running one is found.
    HelperStart(Path lockFile, std::string identifier);

    /// Answers by one of the signals, at once or a little later: a running one that does not answer may be about to
    /// end, and is waited for.
    void begin();

    /// Lets the lock go, so that another may start.
    void release() { m_lock.reset(); }

Q_SIGNALS:
    void admitted();
    void handedOver();
    void failed(const std::string &reason);

private:
    void tryLock();
    void handOver();

    Path m_lockFile;
    std::string m_identifier;
    std::unique_ptr<FileLock> m_lock;
    QElapsedTimer m_elapsed;
};
