#pragma once

#include "Platform/Linux/BlockDevice.h"
#include "Platform/Linux/MountTable.h"
#include "Platform/Linux/SystemFolders.h"

/// What lies under a mounted volume. A value over what the system tells at the moment.
class VolumeMedium final
{
public:
    VolumeMedium(const SystemFolders &folders, const MountTable &mounts);

    /// Errors: NotFound when the volume has a device that the system does not tell of.
    Result<Connection> connection(const Mount &mount) const;

    /// Whether the volume keeps a journal and uses it. Errors: NotFound, Permission, Io, with the system's number.
    Result<bool> hasActiveJournal(const Mount &mount) const;

private:
    Result<Connection> connectionOfDevice(const BlockDevice &device) const;
    Result<Connection> connectionOfLayers(const Mount &overlay) const;

    const SystemFolders &m_folders;
    const MountTable &m_mounts;
};
