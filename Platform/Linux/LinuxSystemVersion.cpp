#include "Platform/Linux/LinuxSystemVersion.h"

Result<std::int32_t> LinuxSystemVersion::gestalt(std::uint32_t selector) const
{
    switch (selector) {
    case kMajor:
        return 10;
    case kMinor:
        return 6;
    case kBugFix:
        return 8;
    case kPacked:
        return 0x1068;
    default:
        return Failure{ErrorCode::NotSupported, 0, "unknown selector " + std::to_string(selector)};
    }
}
