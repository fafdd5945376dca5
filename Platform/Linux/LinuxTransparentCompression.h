#pragma once

#include "Platform/Linux/BtrfsCompression.h"
#include "Platform/Linux/NoCompression.h"

/// Asks the one that fits the volume that a path is on.
class LinuxTransparentCompression final : public TransparentCompression
{
public:
    Result<Ability> ability(const Path &folder) const override;
    Result<FolderState> turnOn(const Path &folder) override;
    Result<bool> isTurnedOn(const Path &folder) const override;
    Result<bool> turnOff(const Path &folder) override;
    Result<std::unique_ptr<CompressibleFile>> open(const Path &file) const override;

private:
    Result<TransparentCompression *> forVolumeOf(const Path &path) const;

    mutable NoCompression m_none;
    mutable BtrfsCompression m_btrfs;
};
