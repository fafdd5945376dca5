#include "Classes/Shared/DVArch.h"

#include "Platform/SystemVersion.h"

/// The minor version of a system whose major version is 10; -1 for any other, and where either cannot be read.
static std::int32_t minorVersionOfTen()
{
    const SystemVersion &system = SystemVersion::current();
    const Result<std::int32_t> major = system.gestalt(SystemVersion::kMajor);
    const Result<std::int32_t> minor = system.gestalt(SystemVersion::kMinor);
    return major && minor && *major == 10 ? *minor : -1;
}

bool DVArch::runningOnTigerOrLater()
{
    return minorVersionOfTen() > 3;
}

bool DVArch::runningOnLeopardOrLater()
{
    return minorVersionOfTen() > 4;
}

bool DVArch::runningOnLeopard()
{
    return minorVersionOfTen() == 6;
}

bool DVArch::runningOnSnowLeopardOrLater()
{
    return minorVersionOfTen() > 5;
}

bool DVArch::runningOnSnowLeopard()
{
    return minorVersionOfTen() == 6;
}

std::string DVArch::getOperatingSystemVersionString()
{
    const SystemVersion &system = SystemVersion::current();
    const Result<std::int32_t> major = system.gestalt(SystemVersion::kMajor);
    const Result<std::int32_t> minor = system.gestalt(SystemVersion::kMinor);
    const Result<std::int32_t> bugFix = system.gestalt(SystemVersion::kBugFix);
    if (major && minor && bugFix)
        return std::to_string(*major) + "." + std::to_string(*minor) + "." + std::to_string(*bugFix);
    const Result<std::int32_t> packed = system.gestalt(SystemVersion::kPacked);
    if (!packed)
        return "999999";
    const auto digit = [&](int bits) { return std::to_string(*packed >> bits & 0xF); };
    return digit(12) + digit(8) + "." + digit(4) + "." + digit(0);
}
