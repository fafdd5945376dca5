#pragma once

#include <filesystem>
#include <string>
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

    /// Mounts a new volume of the format "ext4", "xfs" or "btrfs"; its image lies beside the mount point. The options
    /// are for the program that makes the format, with its dashes, and for the mount, separated by commas. False where
    /// the machine does not allow it, or has no such program.
    bool mountImage(const std::string &format, const std::filesystem::path &point,
                    const std::string &formatOptions = {}, const std::string &mountOptions = {});

    /// The same for a btrfs volume that compresses what is written to it.
    bool mountCompressing(const std::filesystem::path &point)
    {
        return mountImage("btrfs", point, {}, "compress-force=zlib");
    }

    /// Mounts a volume that `mountImage` has made at `first`, and that was unmounted, at `point`.
    bool mountImageAgain(const std::string &format, const std::filesystem::path &first,
                         const std::filesystem::path &point);

    /// Lays one folder over another; what is changed goes to `upper`. `work` is an empty folder beside it.
    bool mountOverlay(const std::filesystem::path &lower, const std::filesystem::path &upper,
                      const std::filesystem::path &work, const std::filesystem::path &point);

    /// Mounts what a program serves; the options name it.
    bool mountProgram(const std::filesystem::path &point, const std::string &options);

    /// From now on nothing can be written there.
    bool makeReadOnly(const std::filesystem::path &point);

    /// Shows a folder at another place too.
    bool bind(const std::filesystem::path &folder, const std::filesystem::path &point);
    bool move(const std::filesystem::path &from, const std::filesystem::path &to);
    bool unmount(const std::filesystem::path &point);

private:
    bool enter();

    bool m_entered = false;
    std::vector<std::filesystem::path> m_points;
};
