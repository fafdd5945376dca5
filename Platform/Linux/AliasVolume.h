#pragma once

#include "Platform/Linux/AliasTarget.h"
#include "Platform/Linux/MountTable.h"
#include "Platform/Types.h"

#include <cstdint>
#include <string>

/// What an alias record tells of the volume that holds its target.
struct AliasVolume
{
    std::string name; ///< its label, else its UUID, else its number; never where it is mounted
    Path mountPoint = "/";
    std::uint16_t signature = 0; ///< "H+" and "BD" for the formats that bear them, else 0
    bool isBootVolume = false;
    bool isAutomounted = false;
    bool isEjectable = false;

    static AliasVolume of(const AliasTarget &target, const MountTable &mounts);
};
