#pragma once

#include "Platform/Formats/AliasIdentity.h"
#include "Platform/Linux/MountTable.h"
#include "Platform/Types.h"

#include <chrono>
#include <cstddef>
#include <deque>
#include <optional>

/// Looks for a file by its inode number in the directory entries of its volume: first in the folder where it was last
/// seen and below it, then outward, folder by folder, up to the volume's root. Other mounts are met and not entered,
/// links not followed. What it finds has passed the identity check. Any thread.
class AliasSearch final
{
public:
    struct Limits
    {
        std::size_t entries = 0;
        std::chrono::milliseconds time{0};
    };

    AliasSearch(const AliasIdentity &identity, const MountTable &mounts, Limits limits);

    /// Where the file is now. Nothing when it is not there or a limit was reached before it was met. `lastSeen` lies
    /// below `mountPoint`; neither needs to exist.
    std::optional<Path> find(const Path &lastSeen, const Path &mountPoint);

    /// Whether a limit is reached.
    bool isExhausted() const;

    /// The entries met so far.
    std::size_t entries() const { return m_entries; }

private:
    std::optional<Path> searchBelow(const Path &folder, const Path &alreadySearched);
    std::optional<Path> searchFolder(const Path &folder, const Path &alreadySearched, std::deque<Path> &folders);
    std::optional<Path> accept(const Path &candidate) const;
    bool isOnMount(const Path &folder, const Path &mountPoint) const;

    const AliasIdentity &m_identity;
    const MountTable &m_mounts;
    Limits m_limits;
    std::chrono::steady_clock::time_point m_end;
    std::size_t m_entries = 0;
};
