#pragma once

#include "Platform/Linux/SystemFolders.h"
#include "Platform/Result.h"

#include <string>
#include <vector>

/// How a medium is connected.
struct Connection
{
    bool isRemovable = false;
    bool isEjectable = false;
    bool isInternal = false;
    bool isExternal = false;

    /// Of a medium that needs both: one part that can be taken away takes the whole with it.
    Connection operator+(const Connection &other) const;

    friend bool operator==(const Connection &, const Connection &) = default;
};

/// A disk, a partition, or something that is built of them, as sysfs shows it.
class BlockDevice final
{
public:
    /// `number`: "major:minor". Errors: NotFound.
    static Result<BlockDevice> withNumber(const SystemFolders &folders, const std::string &number);

    /// `name` as the kernel calls it, or the path of its node. Errors: NotFound.
    static Result<BlockDevice> withName(const SystemFolders &folders, const std::string &name);

    /// "sda1"
    std::string name() const { return m_folder.filename().native(); }

    /// Goes through encryption, logical volumes and arrays down to the disks.
    Connection connection() const { return connection(0); }

    /// All devices of the volume that spreads over this one and others, this one among them.
    std::vector<BlockDevice> withItsFellows() const;

private:
    BlockDevice(Path sysfs, Path folder);

    static Result<BlockDevice> behind(const SystemFolders &folders, const Path &link);
    Connection connection(int depth) const;
    Connection connectionOfDisk() const;

    Path m_sysfs;
    Path m_folder; ///< without links
};
