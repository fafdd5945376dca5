#pragma once

#include "Platform/Linux/MountTable.h"
#include "Platform/Types.h"

#include <chrono>
#include <cstddef>
#include <map>
#include <mutex>
#include <optional>
#include <string>

/// Remembers what searches found and did not find, so that no target is searched for again until its volume has
/// changed, and keeps searches from holding up the main thread. Any thread.
class SearchMemory final
{
public:
    /// How long a search may take. The main thread's are short, and of them no more than `kMainThreadShare` is spent in
    /// a second.
    static constexpr std::chrono::milliseconds kMainThreadSearch{50};
    static constexpr std::chrono::milliseconds kMainThreadShare{80};
    static constexpr std::chrono::milliseconds kOtherThreadSearch{5000};

    /// The volume as far as it bears on whether a search could end differently: what is mounted, and identity, change
    /// and status-change time of each folder above `lastSeen`. To be taken before the search.
    static std::string stateOf(const Path &lastSeen, const MountTable &mounts);

    /// The time that a search for `key` may take now; nothing when it was in vain in the same state (a search of the
    /// main thread only counts for the main thread) or this second's share is used up.
    std::optional<std::chrono::milliseconds> timeFor(const Bytes &key, const std::string &state);

    void noteSearch(const Bytes &key, const std::string &state, const std::optional<Path> &found,
                    std::chrono::milliseconds taken);

    /// Where the last search found the target: to be looked at first, for those who do not keep the record that they
    /// were given then.
    std::optional<Path> lastFound(const Bytes &key);

private:
    struct Entry
    {
        std::string state;
        bool wasThorough = false;
    };

    std::mutex m_mutex;
    std::map<Bytes, Entry> m_lost;
    std::map<Bytes, Path> m_found;
    std::chrono::steady_clock::time_point m_second{};
    std::chrono::milliseconds m_spent{0};
};
