#pragma once

#include "Platform/Result.h"
#include "Platform/Service.h"
#include "Platform/Types.h"

#include <optional>
#include <string>

/// What an alias record says of its target.
struct AliasInfo
{
    std::string targetName;  ///< UTF-8
    std::string volumeName;
    std::string path;        ///< full path as stored
    std::uint32_t fileType = 0;
    std::uint32_t fileCreator = 0;
    std::uint32_t parentDirID = 0;
    std::uint32_t nodeID = 0;
    std::uint16_t filesystemID = 0;
    std::uint16_t signature = 0;
    bool volumeIsBootVolume = false;
    bool volumeIsAutomounted = false;
    bool volumeIsEjectable = false;
    bool volumeHasPersistentFileIDs = false;
};

/// Makes, resolves and describes alias records: the published AliasRecord layout, versions 2 and 3 read, version 2
/// written, with one further tag for what identifies a file on Linux (Docs/Formats/AliasRecords.md). Any thread.
class AliasManager : public Service<AliasManager>
{
public:
    struct Resolution
    {
        Path path;
        Bytes record; ///< the record as it is to be kept: brought up to date when the target has moved
    };

    /// A record for `target`, which must exist; `relativeTo`, when not empty, too. Errors: NotFound, Permission, Io.
    virtual Result<Bytes> newAlias(const Path &target, const Path &relativeTo = {}) const = 0;

    /// Finds the target without showing or mounting anything: at the stored path, then by file handle where the system
    /// allows it, then by a bounded search of its volume; only the very file that the record was made for is an answer.
    /// The main thread never searches: it finds what another thread has found. Errors: NotFound, Corrupt.
    virtual Result<Resolution> resolve(ByteView record, const Path &relativeTo = {}) const = 0;

    /// Errors: Corrupt.
    virtual Result<AliasInfo> copyInfo(ByteView record) const = 0;
};
