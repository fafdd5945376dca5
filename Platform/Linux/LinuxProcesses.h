#pragma once

#include "Platform/Processes.h"

/// Asks /proc. What another user's processes have open is told to root only. A process is looked at through its first
/// thread, or where that has ended and left others, through one of those.
class LinuxProcesses final : public Processes
{
public:
    Result<std::vector<std::uint32_t>> supplementaryGroups() const override;
    std::int32_t ownId() const override;
    Result<std::size_t> processIds(std::vector<std::int32_t> &buffer) const override;
    Result<std::size_t> processesUsing(const Path &path, std::vector<std::int32_t> &buffer) const override;
    Result<FileIdentity> workingDirectory(std::int32_t process) const override;
    Result<std::size_t> descriptors(std::int32_t process, std::vector<ProcessDescriptor> &buffer) const override;
    Result<std::uint32_t> openFlags(std::int32_t process, const ProcessDescriptor &descriptor) const override;

private:
    bool uses(std::int32_t process, const FileIdentity &file, std::vector<ProcessDescriptor> &descriptors) const;
};
