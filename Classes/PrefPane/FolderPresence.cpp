#include "Classes/PrefPane/FolderPresence.h"

#include "Classes/PrefPane/FileIconNames.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>

// A folder that was moved away and put back announces nothing.
static constexpr std::chrono::seconds kPauseWhileMissing{3};

static FolderState lookAt(const std::string &path, FileIconNames &icons)
{
    std::error_code ignored;
    const bool isMissing = std::filesystem::status(path, ignored).type() == std::filesystem::file_type::not_found;
    return {isMissing, isMissing ? QStringList() : icons.of(path)};
}

static FolderPresence::Look lookAtDisk()
{
    return [icons = std::make_shared<FileIconNames>()](const std::string &path) { return lookAt(path, *icons); };
}

FolderPresence::FolderPresence(Look look)
    : m_look(look ? std::move(look) : lookAtDisk(), [this](const auto &answers) { take(answers); })
{
    m_again.setSingleShot(true);
    m_again.setInterval(kPauseWhileMissing);
    connect(&m_again, &QTimer::timeout, this, [this] { m_look.begin(m_paths); });
}

bool FolderPresence::isMissing(const std::string &path) const
{
    const auto found = m_known.find(path);
    return found != m_known.end() && found->second.isMissing;
}

QStringList FolderPresence::icons(const std::string &path) const
{
    const auto found = m_known.find(path);
    return found == m_known.end() ? QStringList() : found->second.icons;
}

void FolderPresence::look(std::vector<std::string> paths)
{
    m_paths = std::move(paths);
    std::ranges::sort(m_paths);
    std::erase_if(m_known, [this](const auto &known) { return !std::ranges::binary_search(m_paths, known.first); });
    m_look.begin(m_paths);
}

void FolderPresence::lookAgain()
{
    m_look.expire();
    m_look.begin(m_paths);
}

/// Answers whether that is news.
bool FolderPresence::note(const std::string &path, FolderState state)
{
    const auto known = m_known.find(path);
    if (state.isMissing && known != m_known.end())
        state.icons = known->second.icons; // it looks as it did
    if (state == (known == m_known.end() ? FolderState() : known->second))
        return false;
    if (state == FolderState())
        m_known.erase(known);
    else
        m_known.insert_or_assign(path, std::move(state));
    return true;
}

void FolderPresence::take(const std::vector<std::pair<std::string, FolderState>> &answers)
{
    bool isNew = false;
    for (const auto &[path, state] : answers) {
        if (std::ranges::binary_search(m_paths, path))
            isNew |= note(path, state);
    }
    if (std::ranges::any_of(m_known, [](const auto &known) { return known.second.isMissing; }))
        m_again.start();
    else
        m_again.stop();
    if (isNew)
        Q_EMIT changed();
}
