#pragma once

#include "Platform/Processes.h"

class LinuxProcesses final : public Processes
{
public:
    Result<std::vector<std::uint32_t>> supplementaryGroups() const override;
};
