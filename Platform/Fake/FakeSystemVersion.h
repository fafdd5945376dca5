#pragma once

#include "Platform/SystemVersion.h"

#include <map>

/// A system of any version. A selector that is taken out of `values` fails.
class FakeSystemVersion final : public SystemVersion
{
public:
    FakeSystemVersion(std::int32_t major, std::int32_t minor, std::int32_t bugFix)
        : values{{kMajor, major}, {kMinor, minor}, {kBugFix, bugFix}}
    {
        values[kPacked] = (major / 10) << 12 | (major % 10) << 8 | minor << 4 | bugFix;
    }

    std::map<std::uint32_t, std::int32_t> values;

    Result<std::int32_t> gestalt(std::uint32_t selector) const override
    {
        const auto found = values.find(selector);
        if (found == values.end())
            return Failure{ErrorCode::NotSupported, 0, "selector made to fail"};
        return found->second;
    }
};
