#include "Classes/PrefPane/FolderPresence.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <iterator>
#include <system_error>
#include <utility>

// A folder that was moved away and put back announces nothing.
static constexpr std::chrono::seconds kPauseWhileMissing{3};

static bool namesNothing(const std::string &path)
{
    std::error_code ignored;
    return std::filesystem::status(path, ignored).type() == std::filesystem::file_type::not_found;
}

FolderPresence::FolderPresence(IsMissing isMissing)
    : m_look(isMissing ? std::move(isMissing) : namesNothing, [this](const auto &answers) { take(answers); })
{
    m_again.setSingleShot(true);
    m_again.setInterval(kPauseWhileMissing);
    connect(&m_again, &QTimer::timeout, this, [this] { m_look.begin(m_paths); });
}

void FolderPresence::look(std::vector<std::string> paths)
{
    m_paths = std::move(paths);
    std::ranges::sort(m_paths);
    std::set<std::string> stillMissing;
    std::ranges::copy_if(m_paths, std::inserter(stillMissing, stillMissing.end()),
                         [this](const std::string &path) { return isMissing(path); });
    m_missing = std::move(stillMissing);
    m_look.begin(m_paths);
}

void FolderPresence::lookAgain()
{
    m_look.expire();
    m_look.begin(m_paths);
}

void FolderPresence::take(const std::vector<std::pair<std::string, bool>> &answers)
{
    const std::set<std::string> before = m_missing;
    for (const auto &[path, isMissing] : answers) {
        if (!isMissing)
            m_missing.erase(path);
        else if (std::ranges::binary_search(m_paths, path))
            m_missing.insert(path);
    }
    if (m_missing.empty())
        m_again.stop();
    else
        m_again.start();
    if (m_missing != before)
        Q_EMIT changed();
}
