#pragma once

#include "Platform/AliasManager.h"
#include "Platform/Formats/AliasRecord.h"
#include "Platform/Linux/AliasSearch.h"
#include "Platform/Linux/AliasTarget.h"
#include "Platform/Linux/SearchMemory.h"

#include <atomic>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

/// Alias records for what lies on this machine's volumes. How a target is told from another and how it is looked for is
/// described in Docs/Formats/AliasRecords.md. Any thread; the main one never searches.
class LinuxAliasManager final : public AliasManager
{
public:
    /// Without handles it finds what it finds for a user who may not open by handle, that is anybody but root.
    enum class Handles { Try, DoNotTry };
    static constexpr AliasSearch::Limits kLongestSearch{5'000'000, std::chrono::seconds(5)};
    explicit LinuxAliasManager(Handles handles = Handles::Try, AliasSearch::Limits longestSearch = kLongestSearch)
        : m_handles(handles)
        , m_longestSearch(longestSearch)
    {
    }

    Result<Bytes> newAlias(const Path &target, const Path &relativeTo = {}) const override;
    Result<Resolution> resolve(ByteView record, const Path &relativeTo = {}) const override;
    Result<AliasInfo> copyInfo(ByteView record) const override;

    /// How often a volume was searched so far.
    int searches() const { return m_searches; }

private:
    /// The mounts of the volume that holds what `identity` tells of, those of the whole volume first.
    std::vector<Mount> mountsOfVolume(const AliasIdentity &identity, const MountTable &mounts) const;
    std::optional<Path> findMoved(const AliasIdentity &identity, const AliasRecord &record,
                                  const MountTable &mounts) const;
    std::optional<Path> search(const AliasIdentity &identity, const Path &lastSeen, const Path &mountPoint,
                               const MountTable &mounts) const;

    Handles m_handles;
    AliasSearch::Limits m_longestSearch;
    mutable SearchMemory m_memory;
    mutable std::mutex m_mutex;
    mutable std::size_t m_generation = 0; ///< of the mount table that `m_volumes` was made from
    mutable std::map<std::pair<Bytes, std::uint64_t>, std::vector<Mount>> m_volumes; ///< by UUID and number
    mutable std::atomic<int> m_searches = 0;
};
