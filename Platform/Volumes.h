#pragma once

#include "Platform/Result.h"
#include "Platform/Service.h"
#include "Platform/Types.h"

#include <cstdint>
#include <string>

/// What the system knows of the volumes that are mounted. A path's final link is followed. Any thread.
class Volumes : public Service<Volumes>
{
public:
    /// Bits of `extendedAttributes`.
    static constexpr std::uint32_t kIsEjectable = 1u << 0;
    static constexpr std::uint32_t kIsOnInternalBus = 1u << 21;
    static constexpr std::uint32_t kIsRemovable = 1u << 25;
    static constexpr std::uint32_t kIsOnExternalBus = 1u << 27;

    /// Bits of `formatCapabilities`. Others are never set.
    static constexpr std::uint32_t kHasJournal = 0x08;
    static constexpr std::uint32_t kHasActiveJournal = 0x10;

    /// A number from 1 up for the volume that holds `path`; the same for two paths exactly when a rename may lead from
    /// one to the other. Holds for this process, for as long as the volume is mounted. Errors: NotFound, Permission,
    /// TooLarge (more volumes than numbers), Io.
    virtual Result<std::int16_t> referenceNumber(const Path &path) const = 0;

    /// 0 for the family of formats on which transparent compression is at home, another number for any other format.
    /// Errors: NotFound when no volume has that number now.
    virtual Result<std::uint16_t> formatId(std::int16_t volume) const = 0;

    /// How the volume's medium is connected: the bits above. One that is on no bus has neither bit of them. Errors:
    /// NotFound when no volume has that number now, or when nothing is known of its medium.
    virtual Result<std::uint32_t> extendedAttributes(std::int16_t volume) const = 0;

    /// The name of the volume's format, "hfs" for the family that `formatId` answers 0 for. Errors: NotFound,
    /// Permission, Io.
    virtual Result<std::string> typeName(const Path &path) const = 0;

    /// Whether the volume, as it is mounted at `path`, can be written to; nobody's permissions are asked. Errors:
    /// NotFound, Permission, Io.
    virtual Result<bool> isWritable(const Path &path) const = 0;

    /// Where the volume that holds `path` is mounted. Errors: NotFound, Permission, Io.
    virtual Result<Path> mountPoint(const Path &path) const = 0;

    /// The bytes that this user may still write to the volume that holds `path`. Errors: NotFound, Permission, Io.
    virtual Result<ByteCount> availableSpace(const Path &path) const = 0;

    /// What the format of the volume that holds `path` can do: the bits above. Errors: NotFound, Permission (whether
    /// there is a journal is kept where only root may read), Io; all with the system's error number.
    virtual Result<std::uint32_t> formatCapabilities(const Path &path) const = 0;
};
