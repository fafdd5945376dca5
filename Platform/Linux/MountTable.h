#pragma once

#include "Platform/Result.h"
#include "Platform/Types.h"

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

/// One line of /proc/self/mountinfo.
struct Mount
{
    std::uint64_t id = 0;
    std::uint64_t parent = 0;
    std::string device; ///< "major:minor"
    Path root;          ///< which folder of the volume is mounted; "/" for all of it
    Path point;         ///< where
    std::string type;   ///< the kernel's name of the file system
    std::string source;
    std::string volumeOptions; ///< those of the file system itself, separated by commas

    /// A trigger that mounts something when it is entered.
    bool isAutomounter() const { return type == "autofs"; }

    /// Whether an ordinary process serves it.
    bool isFuse() const { return type == "fuse" || type == "fuseblk" || type.starts_with("fuse."); }

    /// Whether merely opening the mount point may wait for another machine or process.
    bool mayHang() const;
};

/// What is mounted, in the order of the kernel. A value; reading it takes about 50 µs, `currentMounts` mostly less.
class MountTable final
{
public:
    /// Errors: those of reading /proc.
    static Result<MountTable> read();
    static MountTable parse(const std::string &text);

    const std::vector<Mount> &mounts() const { return m_mounts; }
    const Mount *withId(std::uint64_t id) const;

    /// The uppermost mount below which `path` lies, by its spelling alone; nullptr for a relative path.
    const Mount *holding(const Path &path) const;
    bool isMountPoint(const Path &path) const { return m_points.contains(path.native()); }

    /// `path` with its symbolic links resolved, the last one excepted, without entering an automounter. What is missing
    /// is kept as it is spelt. Nothing when an automounter or too many links are in the way.
    std::optional<Path> resolveWithoutMounting(const Path &path) const;

    /// Another value for each reading. What is mounted may be another though the kernel tells it in the same words.
    std::size_t generation() const { return m_generation; }

private:
    void addRootWhereMissing();

    std::vector<Mount> m_mounts;
    std::unordered_set<std::string> m_points;
    bool m_hasAutomounter = false;
    std::size_t m_generation = 0;
};
