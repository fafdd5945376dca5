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
    /// How long a search may take. The main thread's are short, and of all of them together no more than
    /// `mainThreadShare` is spent in a `period`.
    struct Limits
    {
        std::chrono::milliseconds mainThreadSearch{50};
        std::chrono::milliseconds mainThreadShare{80};
        std::chrono::milliseconds period{1000};
        std::chrono::milliseconds otherThreadSearch{5000};
    };

    explicit SearchMemory(Limits limits)
        : m_limits(limits)
    {
    }

    /// The volume as far as it bears on whether a search could end differently: what is mounted, and identity, change
    /// and status-change time of each folder above `lastSeen`, up to `mountPoint`. To be taken before the search.
    static std::string stateOf(const Path &lastSeen, const Path &mountPoint, const MountTable &mounts);

    /// The time that a search for `key` may take now; nothing when it was in vain in the same state (a search of the
    /// main thread only counts for the main thread) or the main thread's share is used up.
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

    const Limits m_limits;
    std::mutex m_mutex;
    std::map<Bytes, Entry> m_lost;
    std::map<Bytes, Path> m_found;
    std::chrono::steady_clock::time_point m_periodStart{};
    std::chrono::milliseconds m_spent{0};
};
