#include "Platform/Linux/SearchMemory.h"

#include <algorithm>

#include <sys/stat.h>

static constexpr std::chrono::seconds kFirstPause{60};
static constexpr std::chrono::seconds kLongestPause{3600};

SearchMemory::Turn::Turn(SearchMemory &memory, const Bytes &key)
    : m_memory(memory)
    , m_key(key)
{
    std::unique_lock lock(m_memory.m_mutex);
    m_memory.m_turnEnded.wait(lock, [this] { return m_memory.m_underWay.insert(m_key).second; });
}

SearchMemory::Turn::~Turn()
{
    const std::lock_guard lock(m_memory.m_mutex);
    m_memory.m_underWay.erase(m_key);
    m_memory.m_turnEnded.notify_all();
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

bool SearchMemory::isWorthwhile(const Bytes &key, const std::string &state, Clock::time_point now) const
{
    const std::lock_guard lock(m_mutex);
    const auto known = m_entries.find(key);
    if (known == m_entries.end() || known->second.end == End::Found || known->second.state != state)
        return true;
    return known->second.end == End::Unfinished && now >= known->second.next;
}

void SearchMemory::note(const Bytes &key, const std::string &state, End end, const Path &found, Clock::time_point now)
{
    const std::lock_guard lock(m_mutex);
    Entry &entry = m_entries[key];
    const bool isAgain = entry.end == End::Unfinished && end == End::Unfinished && entry.number != 0;
    const auto pause = isAgain ? std::min(2 * entry.pause, kLongestPause) : kFirstPause;
    m_order.erase(entry.number);
    entry = {end, found, state, now + pause, pause, ++m_lastNumber};
    m_order[entry.number] = key;
    if (m_entries.size() > m_mostRemembered)
        forgetOldest();
}

void SearchMemory::forgetOldest()
{
    const auto oldest = m_order.begin();
    m_entries.erase(oldest->second);
    m_order.erase(oldest);
}

std::optional<Path> SearchMemory::lastFound(const Bytes &key) const
{
    const std::lock_guard lock(m_mutex);
    const auto known = m_entries.find(key);
    const bool isFound = known != m_entries.end() && known->second.end == End::Found;
    return isFound ? std::optional(known->second.found) : std::nullopt;
}
