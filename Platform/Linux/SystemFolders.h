#pragma once

#include "Platform/Types.h"

/// Where the kernel tells of its devices; elsewhere in tests.
struct SystemFolders
{
    Path sysfs = "/sys";
    Path devices = "/dev";
};
