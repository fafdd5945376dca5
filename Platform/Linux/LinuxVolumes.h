#pragma once

#include "Platform/Linux/MountTable.h"
#include "Platform/Linux/SystemFolders.h"
#include "Platform/Volumes.h"

#include <map>
#include <mutex>
#include <type_traits>

/// Asks the table of mounts and sysfs anew each time: volumes come and go.
class LinuxVolumes final : public Volumes
{
public:
    Result<std::int16_t> referenceNumber(const Path &path) const override;
    Result<std::uint16_t> formatId(std::int16_t volume) const override;
    Result<std::uint32_t> extendedAttributes(std::int16_t volume) const override;
    Result<std::string> typeName(const Path &path) const override;
    Result<bool> isWritable(const Path &path) const override;
    Result<Path> mountPoint(const Path &path) const override;
    Result<ByteCount> availableSpace(const Path &path) const override;
    Result<std::uint32_t> formatCapabilities(const Path &path) const override;

private:
    /// What a reference number stands for: a mount and, since one of btrfs has many volumes, the device number that its
    /// files bear. The mount's own device is kept to notice that another has got its number.
    struct Reference
    {
        std::uint64_t mount = 0;
        std::uint64_t device = 0;
        std::string mountDevice;

        friend auto operator<=>(const Reference &, const Reference &) = default;
    };

    /// Where a path leads.
    struct Place
    {
        Mount mount;
        std::uint64_t device = 0;
    };

    static Result<Place> place(const Path &path, const MountTable &mounts);
    template <class Ask>
    static auto askPlace(const Path &path, Ask &&ask) -> std::invoke_result_t<Ask, const Place &, const MountTable &>;
    template <class Ask>
    auto askVolume(std::int16_t volume, Ask &&ask) const
        -> std::invoke_result_t<Ask, const Mount &, const MountTable &>;
    Result<std::int16_t> numberOf(const Place &place) const;

    const SystemFolders m_folders{};
    mutable std::mutex m_mutex;
    mutable std::map<Reference, std::int16_t> m_numbers;
    mutable std::map<std::int16_t, Reference> m_references;
};
