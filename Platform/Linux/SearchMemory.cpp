#include "Platform/Linux/SearchMemory.h"

#include <algorithm>

#include <sys/stat.h>
#include <unistd.h>

static constexpr std::size_t kMostRemembered = 1024;
static constexpr std::chrono::milliseconds kShortestSearch{10};

static bool isMainThread()
{
    return ::gettid() == ::getpid();
}

std::string SearchMemory::stateOf(const Path &lastSeen, const Path &mountPoint, const MountTable &mounts)
{
    std::string state = std::to_string(mounts.generation());
    const auto add = [&](auto number) { state += ' ' + std::to_string(number); };
    for (Path folder = lastSeen; folder != mountPoint && folder.has_relative_path();) {
        folder = folder.parent_path();
        struct stat status = {};
        if (::lstat(folder.c_str(), &status) != 0)
            continue;
        add(status.st_dev);
        add(status.st_ino);
        add(status.st_mtim.tv_sec);
        add(status.st_mtim.tv_nsec);
        add(status.st_ctim.tv_sec);
        add(status.st_ctim.tv_nsec);
    }
    return state;
}

std::optional<std::chrono::milliseconds> SearchMemory::timeFor(const Bytes &key, const std::string &state)
{
    const std::lock_guard lock(m_mutex);
    const bool isMain = isMainThread();
    const auto known = m_lost.find(key);
    if (known != m_lost.end() && known->second.state == state && (known->second.wasThorough || isMain))
        return std::nullopt;
    if (!isMain)
        return m_limits.otherThreadSearch;
    const auto now = std::chrono::steady_clock::now();
    if (now - m_periodStart >= m_limits.period) {
        m_periodStart = now;
        m_spent = {};
    }
    const std::chrono::milliseconds left = std::min(m_limits.mainThreadSearch, m_limits.mainThreadShare - m_spent);
    return left < kShortestSearch ? std::nullopt : std::optional(left);
}

void SearchMemory::noteSearch(const Bytes &key, const std::string &state, const std::optional<Path> &found,
                              std::chrono::milliseconds taken)
{
    const std::lock_guard lock(m_mutex);
    if (isMainThread())
        m_spent += taken;
    if (m_lost.size() + m_found.size() >= kMostRemembered) {
        m_lost.clear();
        m_found.clear();
    }
    m_lost.erase(key);
    m_found.erase(key);
    if (found)
        m_found[key] = *found;
    else
        m_lost[key] = {state, !isMainThread()};
}

std::optional<Path> SearchMemory::lastFound(const Bytes &key)
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_found.find(key);
    return found == m_found.end() ? std::nullopt : std::optional(found->second);
}
