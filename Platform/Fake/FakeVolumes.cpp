#include "Platform/Fake/FakeVolumes.h"

#include "Platform/isInside.h"

#include <algorithm>

Result<const FakeVolumes::Volume *> FakeVolumes::holding(const Path &path) const
{
    if (const std::optional<Failure> failure = failures.next())
        return *failure;
    const bool isMissing =
        std::any_of(missing.begin(), missing.end(), [&](const Path &each) { return isInside(path, each); });
    const Volume *found = nullptr;
    for (const Volume &volume : volumes) {
        if (isInside(path, volume.mountPoint) && (!found || isInside(volume.mountPoint, found->mountPoint)))
            found = &volume;
    }
    if (isMissing || !found)
        return Failure{ErrorCode::NotFound, ENOENT, path.native() + " is not there"};
    return found;
}

Result<const FakeVolumes::Volume *> FakeVolumes::numbered(std::int16_t number) const
{
    if (const std::optional<Failure> failure = failures.next())
        return *failure;
    if (number < 1 || std::size_t(number) > volumes.size())
        return Failure{ErrorCode::NotFound, ENOENT, "no such volume"};
    return &volumes[std::size_t(number) - 1];
}

Result<std::int16_t> FakeVolumes::referenceNumber(const Path &path) const
{
    const Result<const Volume *> volume = holding(path);
    if (!volume)
        return volume.failure();
    return std::int16_t(*volume - volumes.data() + 1);
}

Result<std::uint16_t> FakeVolumes::formatId(std::int16_t volume) const
{
    const Result<const Volume *> found = numbered(volume);
    if (!found)
        return found.failure();
    return std::uint16_t((*found)->typeName == "hfs" ? 0 : 1);
}

Result<std::uint32_t> FakeVolumes::extendedAttributes(std::int16_t volume) const
{
    const Result<const Volume *> found = numbered(volume);
    if (!found)
        return found.failure();
    return (*found)->extendedAttributes;
}

Result<std::string> FakeVolumes::typeName(const Path &path) const
{
    const Result<const Volume *> volume = holding(path);
    if (!volume)
        return volume.failure();
    return (*volume)->typeName;
}

Result<bool> FakeVolumes::isWritable(const Path &path) const
{
    const Result<const Volume *> volume = holding(path);
    if (!volume)
        return volume.failure();
    return (*volume)->isWritable;
}

Result<Path> FakeVolumes::mountPoint(const Path &path) const
{
    const Result<const Volume *> volume = holding(path);
    if (!volume)
        return volume.failure();
    return (*volume)->mountPoint;
}

Result<ByteCount> FakeVolumes::availableSpace(const Path &path) const
{
    const Result<const Volume *> volume = holding(path);
    if (!volume)
        return volume.failure();
    return (*volume)->availableSpace;
}

Result<std::uint32_t> FakeVolumes::formatCapabilities(const Path &path) const
{
    const Result<const Volume *> volume = holding(path);
    if (!volume)
        return volume.failure();
    return (*volume)->formatCapabilities;
}
