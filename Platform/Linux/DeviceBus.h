#pragma once

#include "Platform/Types.h"

#include <set>
#include <string>

/// The first word of a small file; empty when it cannot be read.
std::string readWord(const Path &file);

/// What a device hangs on: it and everything above it up to the machine.
class DeviceBus final
{
public:
    /// `device`: its folder in sysfs, without links.
    DeviceBus(const Path &sysfs, const Path &device);

    /// A bus that leads out of the machine.
    bool isExternal() const;

    /// A bus inside the machine. A device that is reached over a network, or through something unknown, is on neither.
    bool isInternal() const;

    /// A slot for memory cards that is no USB device.
    bool isCardSlot() const { return m_isCardSlot; }

private:
    void climb(const Path &device);
    void look(const Path &device);

    Path m_sysfs;
    std::set<std::string> m_subsystems;
    bool m_isRemote = false;
    bool m_isBehindOutsidePort = false;
    bool m_isCardSlot = false;
};
