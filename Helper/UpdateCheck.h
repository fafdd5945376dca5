#pragma once

#include "Platform/Types.h"

#include <QObject>
#include <QTimer>

#include <chrono>
#include <string>

/// Compares the running program with the bundle that it was started from, which an installation may have replaced
/// meanwhile. Fetches nothing. Main thread.
class UpdateCheck final : public QObject
{
    Q_OBJECT

public:
    UpdateCheck(Path bundle, std::string runningVersion, std::chrono::milliseconds interval = std::chrono::hours(1));

    /// Checks now and then by itself, beginning now, or not at all.
    void setAutomatic(bool isAutomatic);

    /// Looks at the bundle now.
    void check();

Q_SIGNALS:
    /// The bundle on the disk is newer. Comes once for each version found.
    void found(const std::string &version);

private:
    Path m_bundle;
    std::string m_runningVersion;
    std::string m_foundVersion;
    QTimer m_timer;
};
