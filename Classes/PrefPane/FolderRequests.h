#pragma once

#include "Platform/DistributedNotificationCenter.h"

#include <QObject>
#include <QTimer>

#include <chrono>
#include <string>
#include <vector>

/// Tells the helper which folders to watch and which no longer. What no helper has heard, because none was running or
/// it was only starting, is posted again once one answers. Main thread.
class FolderRequests final : public QObject
{
    Q_OBJECT

public:
    static constexpr const char *kToAdd = "foldersToAdd";
    static constexpr const char *kToRemove = "foldersToRemove";

    /// `pause` lies between two questions whether a helper runs.
    explicit FolderRequests(std::chrono::milliseconds pause = std::chrono::milliseconds(200));

    /// Posts the folders under that key, an empty list too; in several notifications where one would be too large.
    void post(const std::string &key, const std::vector<std::string> &folders);

Q_SIGNALS:
    /// No helper has heard what was posted; now is the time to start one.
    void helperMissed();

private:
    void ask();
    void finish(bool isAnswered);
    void awaitHelper();

    std::vector<UserInfo> m_unconfirmed; ///< in the order in which they were posted
    bool m_isMissed = false;             ///< some of them may not have been heard
    bool m_isAwaiting = false;           ///< from the first time that nobody answered
    int m_lastQuestion = 0;
    int m_retries = 0;
    QTimer m_retry;
};
