#include "Classes/PrefPane/FolderRequests.h"

#include "Classes/Shared/Log.h"
#include "Platform/ApplicationName.h"
#include "Platform/Workspace.h"

#include <QPointer>

#include <utility>

static constexpr const char *kHelper = "com.dovrane.TamselHelper";
static constexpr const char *kFoldersChanged = "com.dovrane.pellix.folders";
static constexpr int kMostRetries = 50; // a helper that was started answers within seconds

// A notification has room for its name and the key, too.
static constexpr std::size_t kMostBytes = DistributedNotificationCenter::kLargestPost - 1024;
static constexpr std::size_t kBytesBesideEach = 8;
static constexpr std::size_t kMostInOne = 5000; // the helper takes twice as many

/// The folders in their order, in groups of what one notification can carry; one empty group when there are none.
static std::vector<std::vector<std::string>> groupsOf(const std::vector<std::string> &folders)
{
    std::vector<std::vector<std::string>> groups(1);
    std::size_t bytes = 0;
    for (const std::string &folder : folders) {
        bytes += folder.size() + kBytesBesideEach;
        if ((bytes > kMostBytes && !groups.back().empty()) || groups.back().size() == kMostInOne) {
            groups.emplace_back();
            bytes = folder.size() + kBytesBesideEach;
        }
        groups.back().push_back(folder);
    }
    return groups;
}

FolderRequests::FolderRequests(std::chrono::milliseconds pause)
{
    m_retry.setSingleShot(true);
    m_retry.setInterval(pause);
    connect(&m_retry, &QTimer::timeout, this, &FolderRequests::ask);
}

void FolderRequests::post(const std::string &key, const std::vector<std::string> &folders)
{
    for (std::vector<std::string> &group : groupsOf(folders)) {
        m_unconfirmed.push_back({{key, std::move(group)}});
        DistributedNotificationCenter::current().post(kFoldersChanged, m_unconfirmed.back());
    }
    m_retries = 0;
    ask();
}

/// Whoever answers has heard all that was posted before.
void FolderRequests::ask()
{
    m_retry.stop();
    ApplicationName::current().activateOwner(kHelper, {},
                                             [self = QPointer(this), question = ++m_lastQuestion](bool isAnswered) {
                                                 if (!self)
                                                     return;
                                                 self->m_isMissed |= !isAnswered;
                                                 if (question == self->m_lastQuestion)
                                                     self->finish(isAnswered);
                                             });
}

void FolderRequests::finish(bool isAnswered)
{
    if (isAnswered) {
        // All of them in their order: what is heard twice ends as it was meant, too.
        const std::vector<UserInfo> posts = std::exchange(m_unconfirmed, {});
        if (std::exchange(m_isMissed, false)) {
            for (const UserInfo &each : posts)
                DistributedNotificationCenter::current().post(kFoldersChanged, each);
        }
        return;
    }
    awaitHelper();
    if (m_retries == 0 && DistributedNotificationCenter::current().isConnected())
        Q_EMIT helperMissed();
    if (m_retries++ < kMostRetries)
        m_retry.start();
    else
        logLine("No helper was told of the folders yet");
}

/// One may come long after the last retry.
void FolderRequests::awaitHelper()
{
    if (std::exchange(m_isAwaiting, true))
        return;
    Workspace::current().watchRunning(kHelper, [self = QPointer(this)](bool isRunning) {
        if (!self || !isRunning || !self->m_isMissed)
            return;
        self->m_retries = 0;
        self->ask();
    });
}
