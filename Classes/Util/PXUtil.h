#pragma once

#include "Platform/Types.h"

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>

/// Where the product keeps the user's files, and small helpers for times, groups and sizes.
class PXUtil final
{
public:
    PXUtil() = delete;

    /// The folder of the user's files: "Pellix", "Pellixer" or "Tamsel" in Application Support, the first that is
    /// there; "Tamsel" is made when none is. Nothing when it cannot be made; the next call tries again. Once found it
    /// stays the answer for the life of the process. Main thread.
    static std::optional<Path> applicationSupportFolder();

    /// "excludedPaths.plist" and "excludedExtensions.plist" in that folder; nothing when there is none.
    static std::optional<Path> pathToExclusionPathsFile();
    static std::optional<Path> pathToExclusionExtensionsFile();

    /// Seconds since the content of a directory or the status of anything else changed; links are not followed. -1 when
    /// the path cannot be examined.
    static double timeIntervalSinceLastModificationOfPath(const char *path);

    /// Seconds from `time` (seconds since 1970) to now; negative when it lies ahead.
    static double timeIntervalSinceTime(std::time_t time);

    /// Whether the group is one of this process's supplementary groups.
    static bool processGroupsInclude(std::uint32_t group);

    /// The text for a byte count: "1023 b", "1.02 KB", "100 MB", "1.50 GB". Units are powers of 1000, the point is a
    /// point.
    static std::string getPrettySize(ByteCount size);
};
