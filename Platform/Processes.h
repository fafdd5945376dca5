#pragma once

#include "Platform/FileSystem.h"
#include "Platform/Result.h"
#include "Platform/Service.h"

#include <cstdint>
#include <vector>

/// One of a process's open descriptors, and which file it is.
struct ProcessDescriptor
{
    std::int32_t number = -1;
    FileIdentity file;
};

/// What the system tells of its processes. Any thread.
///
/// Lists are written to the front of a buffer of the caller's, which is enlarged where it is too small and never made
/// smaller; what stands behind the list stays. So a buffer that is used again costs no allocation. Where there is no
/// memory to enlarge it, the failure's code is NoSpace.
class Processes : public Service<Processes>
{
public:
    /// Bits of `openFlags`.
    static constexpr std::uint32_t kReading = 1;
    static constexpr std::uint32_t kWriting = 2;

    /// The supplementary groups of this process, in the system's order; the effective group is among them only where
    /// the system lists it. Errors: Io.
    virtual Result<std::vector<std::uint32_t>> supplementaryGroups() const = 0;

    virtual std::int32_t ownId() const = 0;

    /// The processes of all users, as far as this one may see them. Answers how many. Errors: NoSpace, Io.
    virtual Result<std::size_t> processIds(std::vector<std::int32_t> &buffer) const = 0;

    /// The processes that have the file at `path` open, as their program or as their working or root directory. A final
    /// link is followed. Answers how many. Errors: NoSpace, and those of looking at the path and at the processes.
    virtual Result<std::size_t> processesUsing(const Path &path, std::vector<std::int32_t> &buffer) const = 0;

    /// Errors: NotFound when the process has ended, Permission when it is another's.
    virtual Result<FileIdentity> workingDirectory(std::int32_t process) const = 0;

    /// What the process has open, in the order of its numbers; what is no file has the identity that the system gives
    /// it. Answers how many. Errors: NotFound, Permission, NoSpace, Io.
    virtual Result<std::size_t> descriptors(std::int32_t process, std::vector<ProcessDescriptor> &buffer) const = 0;

    /// `kReading`, `kWriting` or both. A descriptor that only names its file counts as reading. Errors: NotFound when
    /// the descriptor has been closed, or is another file by now; Permission, Io.
    virtual Result<std::uint32_t> openFlags(std::int32_t process, const ProcessDescriptor &descriptor) const = 0;
};
