#pragma once

#include <filesystem>
#include <vector>

/// Mounts that only this process sees, taken away with this object. Needs a machine that gives the process a mount
/// namespace of its own, and a process that has no threads yet.
class PrivateMounts final
{
public:
    PrivateMounts() = default;
    ~PrivateMounts();
    PrivateMounts(const PrivateMounts &) = delete;
    PrivateMounts &operator=(const PrivateMounts &) = delete;

    /// Mounts an empty volume in memory. False where the machine does not allow it.
    bool mountMemory(const std::filesystem::path &point);

    /// Mounts a new btrfs volume that compresses what is written to it; its image lies beside the mount point. False
    /// where the machine does not allow it, or has no `mkfs.btrfs`.
    bool mountCompressing(const std::filesystem::path &point);

    /// Shows a folder at another place too.
    bool bind(const std::filesystem::path &folder, const std::filesystem::path &point);
    bool move(const std::filesystem::path &from, const std::filesystem::path &to);
    bool unmount(const std::filesystem::path &point);

private:
    bool enter();

    bool m_entered = false;
    std::vector<std::filesystem::path> m_points;
};
