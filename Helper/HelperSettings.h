#pragma once

#include "Platform/Types.h"

#include <string>

/// What the helper wants to know of "defaults.plist", as it stands on the disk at the moment. The file is the pane's:
/// the helper never writes it. A value.
struct HelperSettings
{
    bool active = true;       ///< whether to compress
    bool checkUpdates = true; ///< whether to look for a newer version by itself
    bool visible = true;
    std::string trouble; ///< why they could not be read, empty where they could or there are none

    /// A file that is missing or damaged, and a key that is missing, mean the built-in default.
    static HelperSettings read(const Path &file);
};
