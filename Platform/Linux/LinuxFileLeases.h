#pragma once

#include "Platform/FileLeases.h"

/// Read leases of fcntl(2). On an overlay a mapping whose descriptor is closed goes unseen.
class LinuxFileLeases final : public FileLeases
{
public:
    Result<std::unique_ptr<FileLease>> leaseAgainstWriters(const Path &path) const override;
};
