#pragma once

#include "Platform/Linux/SystemFolders.h"

#include <string>

/// Folders that look like /sys and /dev of a machine with the devices that it is told.
class MadeUpSystem final
{
public:
    explicit MadeUpSystem(const Path &root);

    const SystemFolders &folders() const { return m_folders; }

    /// Files by their path below "devices" in sysfs; missing folders are made.
    void addFile(const std::string &path, const std::string &content);

    /// Says what the folder below "devices" is: "usb", "pci".
    void setSubsystem(const std::string &path, const std::string &name);

    /// A link at `path` below sysfs to a folder below "devices".
    void addLink(const std::string &path, const std::string &device);

    /// A block device in a folder below "devices", and its node.
    void addBlockDevice(const std::string &path, const std::string &number, bool isRemovable = false);

    /// A partition of the block device in the folder above.
    void addPartition(const std::string &path, const std::string &number);

    /// That the block device is built of the other one.
    void addSlave(const std::string &path, const std::string &otherPath);

private:
    Path device(const std::string &path) const { return m_folders.sysfs / "devices" / path; }

    SystemFolders m_folders;
};
