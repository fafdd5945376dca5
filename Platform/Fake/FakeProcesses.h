#pragma once

#include "Platform/Fake/FailureSchedule.h"
#include "Platform/Processes.h"

/// A process with the groups that it is given. Any thread, once they are set.
class FakeProcesses final : public Processes
{
public:
    std::vector<std::uint32_t> groups;

    /// Makes the n-th call from now on fail.
    mutable FailureSchedule failures;

    Result<std::vector<std::uint32_t>> supplementaryGroups() const override
    {
        if (const std::optional<Failure> failure = failures.next())
            return *failure;
        return groups;
    }
};
