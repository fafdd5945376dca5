#pragma once

#include "Platform/Result.h"
#include "Platform/Service.h"

#include <cstdint>
#include <vector>

/// What the system tells of its processes. Any thread.
class Processes : public Service<Processes>
{
public:
    /// The supplementary groups of this process, in the system's order; the effective group is among them only where
    /// the system lists it. Errors: Io.
    virtual Result<std::vector<std::uint32_t>> supplementaryGroups() const = 0;
};
