#pragma once

#include "Platform/FileSystem.h"
#include "Platform/Result.h"
#include "Platform/Service.h"

#include <memory>

/// The system's word that nobody writes to a file, given back when this is destroyed. Who wants to open the file for
/// writing meanwhile has to wait until then (or fails at once, if it will not wait), so hold it shortly.
class FileLease
{
public:
    virtual ~FileLease() = default;

    /// The file that it was given for, whatever the path leads to by now.
    virtual FileIdentity file() const = 0;

    /// Whether nobody has asked to write since. Once it is broken it stays so.
    virtual bool isHeld() const = 0;
};

/// Asks the system for leases, which is far cheaper than looking at what every process has open. Any thread.
class FileLeases : public Service<FileLeases>
{
public:
    /// Granted exactly when no process of any user has the file open or mapped for writing, this one included. Errors:
    /// Busy when one has; anything else says nothing of it: the file is another user's (Permission), its volume has no
    /// leases, it is no regular file (NotSupported), NotFound, Io. A final link is not followed. Whether a lease is
    /// broken is only seen by asking: no signal ends or interrupts this process.
    virtual Result<std::unique_ptr<FileLease>> leaseAgainstWriters(const Path &path) const = 0;
};
