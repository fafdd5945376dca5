#pragma once

#include "Platform/Fake/FailureSchedule.h"
#include "Platform/FileLeases.h"

#include <mutex>

/// Leases on files that are written to, or were asked for meanwhile, as it is told. Whether a file is there is asked of
/// the installed file system. Any thread.
class FakeFileLeases final : public FileLeases
{
public:
    FakeFileLeases();

    /// Makes the n-th call from now on fail.
    mutable FailureSchedule failures;

    /// From now on somebody has the file open for writing, or has closed it. A lease on it that is held is broken by
    /// that, as by whoever waits to open it.
    void setWritten(const FileIdentity &file, bool isWritten = true);

    /// How many leases are held or broken and not given back yet.
    std::size_t count() const;

    Result<std::unique_ptr<FileLease>> leaseAgainstWriters(const Path &path) const override;

private:
    struct State;
    class Lease;

    std::shared_ptr<State> m_state;
};
