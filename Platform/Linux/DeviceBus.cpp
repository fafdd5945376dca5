#include "Platform/Linux/DeviceBus.h"

#include <algorithm>
#include <array>
#include <fstream>

namespace fs = std::filesystem;

std::string readWord(const Path &file)
{
    std::ifstream stream(file);
    std::string word;
    stream >> word;
    return word;
}

DeviceBus::DeviceBus(const Path &sysfs, const Path &device)
{
    std::error_code error;
    m_sysfs = fs::weakly_canonical(sysfs, error);
    climb(device);
}

void DeviceBus::climb(const Path &device)
{
    const Path top = m_sysfs / "devices";
    for (Path folder = device; folder.native().size() > top.native().size(); folder = folder.parent_path())
        look(folder);
}

void DeviceBus::look(const Path &device)
{
    std::error_code error;
    const std::string subsystem = fs::read_symlink(device / "subsystem", error).filename().native();
    if (!error)
        m_subsystems.insert(subsystem);
    if (subsystem == "pci" && readWord(device / "removable") == "removable") // as the firmware tells of Thunderbolt
        m_isBehindOutsidePort = true;
    if (subsystem == "mmc" && readWord(device / "type") != "MMC") // MMC is soldered in, SD comes and goes
        m_isCardSlot = true;
    if (const std::string transport = readWord(device / "transport"); subsystem == "nvme" && !transport.empty())
        m_isRemote = m_isRemote || transport != "pcie";
    if (fs::exists(device / "iscsi_session", error))
        m_isRemote = true;
    if (subsystem != "nvme-subsystem")
        return;
    // A disk with several ways to it hangs on none of them; its controllers lie beside it.
    for (fs::directory_iterator entry(device, error), end; !error && entry != end; entry.increment(error)) {
        std::error_code broken;
        if (!entry->is_symlink(broken) || !entry->path().filename().native().starts_with("nvme"))
            continue;
        const Path controller = fs::canonical(entry->path(), broken);
        if (!broken && controller.native().starts_with((m_sysfs / "devices").native()))
            climb(controller);
    }
}

bool DeviceBus::isExternal() const
{
    return m_isBehindOutsidePort || m_subsystems.contains("usb") || m_subsystems.contains("firewire") ||
           m_subsystems.contains("thunderbolt");
}

bool DeviceBus::isInternal() const
{
    static constexpr std::array kBuses = {"ccw", "ide", "mmc", "mtd", "nd", "nvme", "scsi", "virtio", "vmbus", "xen"};
    return !isExternal() && !m_isRemote && !m_isCardSlot &&
           std::any_of(kBuses.begin(), kBuses.end(), [this](const char *bus) { return m_subsystems.contains(bus); });
}
