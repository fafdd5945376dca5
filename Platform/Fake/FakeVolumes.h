#pragma once

#include "Platform/Fake/FailureSchedule.h"
#include "Platform/Volumes.h"

#include <set>
#include <vector>

/// The volumes that it is given, at least one at "/". Any thread, once they are set.
class FakeVolumes final : public Volumes
{
public:
    struct Volume
    {
        Path mountPoint;
        std::string typeName = "hfs";
        std::uint32_t extendedAttributes = kIsOnInternalBus;
        std::uint32_t formatCapabilities = 0;
        bool isWritable = true;
        ByteCount availableSpace = ByteCount{1} << 40;
    };

    /// The volumes, whose reference numbers count from 1. Of two that hold a path, the one with the longer mount point
    /// is meant.
    std::vector<Volume> volumes;

    /// Paths that are not there, with all that is below them.
    std::set<Path> missing;

    /// Makes the n-th call from now on fail.
    mutable FailureSchedule failures;

    Result<std::int16_t> referenceNumber(const Path &path) const override;
    Result<std::uint16_t> formatId(std::int16_t volume) const override;
    Result<std::uint32_t> extendedAttributes(std::int16_t volume) const override;
    Result<std::string> typeName(const Path &path) const override;
    Result<bool> isWritable(const Path &path) const override;
    Result<Path> mountPoint(const Path &path) const override;
    Result<ByteCount> availableSpace(const Path &path) const override;
    Result<std::uint32_t> formatCapabilities(const Path &path) const override;

private:
    Result<const Volume *> holding(const Path &path) const;
    Result<const Volume *> numbered(std::int16_t number) const;
};
