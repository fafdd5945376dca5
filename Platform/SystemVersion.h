#pragma once

#include "Platform/Result.h"
#include "Platform/Service.h"

#include <cstdint>

/// The version of the platform's interfaces, by selector. Any thread.
class SystemVersion : public Service<SystemVersion>
{
public:
    static constexpr std::uint32_t kMajor = 0x73797331;  // 'sys1'
    static constexpr std::uint32_t kMinor = 0x73797332;  // 'sys2'
    static constexpr std::uint32_t kBugFix = 0x73797333; // 'sys3'
    static constexpr std::uint32_t kPacked = 0x73797376; // 'sysv', binary-coded decimal

    /// Errors: NotSupported for a selector that this system does not know.
    virtual Result<std::int32_t> gestalt(std::uint32_t selector) const = 0;
};
