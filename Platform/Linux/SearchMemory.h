#pragma once

#include "Platform/Linux/MountTable.h"
#include "Platform/Types.h"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>

/// Remembers what searches found and did not find, so that no target is searched for again until its volume has
/// changed, and by one thread at a time. Any thread.
class SearchMemory final
{
public:
    using Clock = std::chrono::steady_clock;

    /// How a search ended. One that ran into a limit may find its target the next time: the caches are warm by then.
    enum class End { Found, Vain, Unfinished };

    /// Held while a target is searched for. Waits until no other thread does.
    class Turn final
    {
    public:
        Turn(SearchMemory &memory, const Bytes &key);
        ~Turn();
        Turn(const Turn &) = delete;
        Turn &operator=(const Turn &) = delete;

    private:
        SearchMemory &m_memory;
        const Bytes m_key;
    };

    explicit SearchMemory(std::size_t mostRemembered = 100'000)
        : m_mostRemembered(mostRemembered)
    {
    }

    /// The volume as far as it bears on whether a search could end differently: what is mounted, and identity, change
    /// and status-change time of each folder above `lastSeen`, up to `mountPoint`. To be taken before the search.
    static std::string stateOf(const Path &lastSeen, const Path &mountPoint, const MountTable &mounts);

    /// Whether a search for `key` may end otherwise than the last one did: not when that was in vain in the same state,
    /// nor soon after one that did not get to its end, each time later.
    bool isWorthwhile(const Bytes &key, const std::string &state, Clock::time_point now = Clock::now()) const;

    /// `found` where the search ended with `Found`.
    void note(const Bytes &key, const std::string &state, End end, const Path &found = {},
              Clock::time_point now = Clock::now());

    /// Where the last search found the target: to be looked at first, for those who do not keep the record that they
    /// were given then.
    std::optional<Path> lastFound(const Bytes &key) const;

private:
    struct Entry
    {
        End end = End::Vain;
        Path found;
        std::string state;
        Clock::time_point next;
        std::chrono::seconds pause{0};
        std::uint64_t number = 0; ///< greater than of any that was noted before
    };

    void forgetOldest();

    const std::size_t m_mostRemembered;
    mutable std::mutex m_mutex;
    std::condition_variable m_turnEnded;
    std::set<Bytes> m_underWay;
    std::map<Bytes, Entry> m_entries;
    std::map<std::uint64_t, Bytes> m_order; ///< the keys of the entries by their numbers
    std::uint64_t m_lastNumber = 0;
};
