#include "Classes/PrefPane/FolderPresence.h"

#include <chrono>
#include <filesystem>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

// A folder that was moved away and put back announces nothing.
static constexpr std::chrono::seconds kPauseWhileMissing{3};

/// What the thread knows of whom it works for. It may outlive it.
struct FolderPresence::Owner
{
    std::mutex mutex;
    FolderPresence *presence = nullptr;
};

FolderPresence::FolderPresence(QObject *parent)
    : QObject(parent)
    , m_owner(std::make_shared<Owner>())
{
    m_owner->presence = this;
    m_again.setSingleShot(true);
    m_again.setInterval(kPauseWhileMissing);
    connect(&m_again, &QTimer::timeout, this, &FolderPresence::lookAgain);
}

FolderPresence::~FolderPresence()
{
    const std::lock_guard lock(m_owner->mutex);
    m_owner->presence = nullptr;
}

void FolderPresence::look(std::vector<std::string> paths)
{
    m_paths = std::move(paths);
    m_again.stop();
    if (m_isLooking)
        m_next = m_paths;
    else
        begin(m_paths);
}

static std::set<std::string> missingOf(const std::vector<std::string> &paths)
{
    std::set<std::string> missing;
    for (const std::string &path : paths) {
        std::error_code ignored;
        if (std::filesystem::status(path, ignored).type() == std::filesystem::file_type::not_found)
            missing.insert(path);
    }
    return missing;
}

void FolderPresence::begin(std::vector<std::string> paths)
{
    m_isLooking = true;
    std::thread([owner = m_owner, paths = std::move(paths)] {
        std::set<std::string> missing = missingOf(paths);
        const std::lock_guard lock(owner->mutex);
        if (FolderPresence *const presence = owner->presence)
            QMetaObject::invokeMethod(
                presence, [presence, missing = std::move(missing)] { presence->finish(missing); },
                Qt::QueuedConnection);
    }).detach();
}

void FolderPresence::finish(std::set<std::string> missing)
{
    m_isLooking = false;
    if (auto next = std::exchange(m_next, std::nullopt))
        begin(*std::move(next));
    else if (!missing.empty())
        m_again.start();
    if (std::exchange(m_missing, std::move(missing)) != m_missing)
        Q_EMIT changed();
}
