#pragma once

#include "Platform/Processes.h"

#include <string>
#include <vector>

/// What /proc tells of one process: through its first thread, or where that has ended and left others, through one of
/// those.
class ProcessFolder final
{
public:
    explicit ProcessFolder(std::int32_t process);

    /// The file that one of its links leads to: "cwd", "root", "exe". Errors: NotFound, Permission.
    Result<FileIdentity> identity(const char *link) const;

    /// As in `Processes`.
    Result<std::size_t> descriptors(std::vector<ProcessDescriptor> &buffer) const;
    Result<std::uint32_t> openFlags(const ProcessDescriptor &descriptor) const;

private:
    template <class Ask>
    auto askThreads(Ask &&ask) const;

    std::int32_t m_process;
    std::string m_path;
};
