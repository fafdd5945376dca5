#pragma once

#include <string>

/// Questions about the version of the running system. A version that cannot be read answers each with NO.
class DVArch final
{
public:
    DVArch() = delete;

    static bool runningOnTigerOrLater();
    static bool runningOnLeopardOrLater();

    /// Asks for 10.6, as `runningOnSnowLeopard` does; callers rely on it.
    static bool runningOnLeopard();
    static bool runningOnSnowLeopardOrLater();
    static bool runningOnSnowLeopard();

    /// "10.6.8"; "999999" when no version can be read.
    static std::string getOperatingSystemVersionString();
};
