#pragma once

#include "Platform/Fake/FailureSchedule.h"
#include "Platform/Processes.h"

#include <optional>

/// The processes that it is given. Any thread, once they are set.
class FakeProcesses final : public Processes
{
public:
    struct Open
    {
        std::int32_t number = -1;
        FileIdentity file;
        std::uint32_t flags = kReading;
    };

    struct Process
    {
        std::int32_t id = 0;
        FileIdentity workingDirectory;
        std::vector<Open> open;
        bool isAnothers = false; ///< and so cannot be looked at
    };

    std::vector<std::uint32_t> groups;
    std::int32_t id = 1;
    std::vector<Process> processes;

    /// Makes the n-th call from now on fail.
    mutable FailureSchedule failures;

    Result<std::vector<std::uint32_t>> supplementaryGroups() const override;
    std::int32_t ownId() const override { return id; }
    Result<std::size_t> processIds(std::vector<std::int32_t> &buffer) const override;
    Result<std::size_t> processesUsing(const Path &path, std::vector<std::int32_t> &buffer) const override;
    Result<FileIdentity> workingDirectory(std::int32_t process) const override;
    Result<std::size_t> descriptors(std::int32_t process, std::vector<ProcessDescriptor> &buffer) const override;
    Result<std::uint32_t> openFlags(std::int32_t process, const ProcessDescriptor &descriptor) const override;

private:
    /// The process, or why nothing is said of it.
    Result<const Process *> reach(std::int32_t process) const;
};
