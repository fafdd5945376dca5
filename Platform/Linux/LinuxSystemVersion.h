#pragma once

#include "Platform/SystemVersion.h"

/// The level of the platform's interfaces that this port offers: 10.6.8, whatever the kernel's version.
class LinuxSystemVersion final : public SystemVersion
{
public:
    Result<std::int32_t> gestalt(std::uint32_t selector) const override;
};
