#pragma once

#include "Platform/TransparentCompression.h"

/// On btrfs, with zstd, through what the owner of a file may have done to it.
class BtrfsCompression final : public TransparentCompression
{
public:
    Result<Ability> ability(const Path &folder) const override;
    Result<FolderState> turnOn(const Path &folder) override;
    Result<bool> isTurnedOn(const Path &folder) const override;
    Result<bool> turnOff(const Path &folder) override;
    Result<std::unique_ptr<CompressibleFile>> open(const Path &file) const override;
};
