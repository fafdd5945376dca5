#pragma once

#include "Platform/Formats/AliasIdentity.h"
#include "Platform/Linux/Descriptor.h"
#include "Platform/Linux/MountTable.h"
#include "Platform/Result.h"
#include "Platform/Types.h"

#include <cstdint>
#include <optional>
#include <string>

/// A file or folder as an alias record tells of it.
struct AliasTarget
{
    Path path; ///< absolute, without symbolic links
    bool isFolder = false;
    AliasIdentity identity;
    std::int64_t modified = 0; ///< seconds since 1970, for a volume that tells no birth time
    std::uint64_t mountId = 0;
    std::uint64_t device = 0; ///< st_dev

    /// Looks at `path`, which may end in a link that is then meant itself. Errors: NotFound, Permission, Io.
    static Result<AliasTarget> examine(const Path &path, const MountTable &mounts);

    /// Looks at what is open as `descriptor` (O_PATH will do).
    static Result<AliasTarget> examine(const Descriptor &descriptor, const MountTable &mounts);

    /// Where `identity`'s inode lies now, by its handle, on the volume of which `mountPoint` is a mount. Nothing unless
    /// the process may open by handle and the inode is there. Only root may, by default.
    static std::optional<Path> pathByHandle(const AliasIdentity &identity, const Path &mountPoint);

    /// A descriptor for reading that answers the volume's own calls: of the file itself, of its folder or of its mount
    /// point.
    Descriptor openOnVolume(const MountTable &mounts) const;
};
