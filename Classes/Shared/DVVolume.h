#pragma once

#include "Platform/Types.h"

#include <cstdint>
#include <string>

/// What is to be known of a volume before a folder on it is watched.
struct DVVolumeInfo
{
    bool isHFSPlus = false;
    bool isRemovable = false;
    bool isEjectable = false;
    bool isInternal = false;
    bool isExternal = false;
    bool isWritable = false;
};

/// Questions about the volume that holds a path; a final link is followed. What cannot be told is NO. No instances; any
/// thread.
class DVVolume final
{
public:
    DVVolume() = delete;

    /// The same for two paths exactly when a rename can lead from one to the other; -1 for a path that is missing or
    /// cannot be looked at.
    static std::int16_t volumeReferenceNumberForPath(const Path &path);

    static bool fsIsHFSVolumeForPath(const Path &path);
    static bool fsIsVolumeEjectableForPath(const Path &path);
    static bool fsIsVolumeRemovableForPath(const Path &path);
    static bool fsIsVolumeInternalForPath(const Path &path);

    /// Fills `info` and answers whether that worked. Where nothing is known of the volume's medium, `info` stays as it
    /// was; where only whether it is writable cannot be told, that field does.
    static bool volumeInfoForPath(const Path &path, DVVolumeInfo &info);

    /// The name of the volume's format, "hfs" for one with transparent compression; "Unknown" where there is none.
    static std::string fileSystemTypeForPath(const Path &path);
    static bool isHFSPlusFileSystemForPath(const Path &path);

    /// Two paths that are both missing are on the same volume; callers rely on it.
    static bool areInSameVolumePath(const Path &path, const Path &otherPath);

    /// What the volume's format can do, as the bits of `Volumes::formatCapabilities`. 0, and a line in the log, where
    /// that cannot be told.
    static std::uint32_t volumeCapabilitiesForVolumeAtPath(const char *path);

    /// Answers whether the volume has an active journal, which is what the bit in question has always said.
    static bool exchangedataSupportedInVolumeForPath(const Path &path);
    static bool exchangedataSupportedInVolumeForCPath(const char *path);
};
