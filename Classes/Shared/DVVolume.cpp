#include "Classes/Shared/DVVolume.h"

#include "Classes/Shared/DVArch.h"
#include "Classes/Shared/Log.h"
#include "Platform/Volumes.h"

#include <algorithm>
#include <cstring>

static bool hasExtendedAttribute(const Path &path, std::uint32_t bit)
{
    const std::int16_t volume = DVVolume::volumeReferenceNumberForPath(path);
    return Volumes::current().extendedAttributes(volume).valueOr(0) & bit;
}

static std::string lowercase(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), [](char character) {
        return character >= 'A' && character <= 'Z' ? char(character + 32) : character;
    });
    return text;
}

std::int16_t DVVolume::volumeReferenceNumberForPath(const Path &path)
{
    return Volumes::current().referenceNumber(path).valueOr(-1);
}

bool DVVolume::fsIsHFSVolumeForPath(const Path &path)
{
    const Result<std::uint16_t> format = Volumes::current().formatId(volumeReferenceNumberForPath(path));
    return format && *format == 0;
}

bool DVVolume::fsIsVolumeEjectableForPath(const Path &path)
{
    return hasExtendedAttribute(path, Volumes::kIsEjectable);
}

bool DVVolume::fsIsVolumeRemovableForPath(const Path &path)
{
    return hasExtendedAttribute(path, Volumes::kIsRemovable);
}

bool DVVolume::fsIsVolumeInternalForPath(const Path &path)
{
    return hasExtendedAttribute(path, Volumes::kIsOnInternalBus);
}

bool DVVolume::volumeInfoForPath(const Path &path, DVVolumeInfo &info)
{
    const Volumes &volumes = Volumes::current();
    const Result<std::uint32_t> attributes = volumes.extendedAttributes(volumeReferenceNumberForPath(path));
    if (!attributes)
        return false;
    info.isHFSPlus = isHFSPlusFileSystemForPath(path);
    info.isRemovable = *attributes & Volumes::kIsRemovable;
    info.isEjectable = *attributes & Volumes::kIsEjectable;
    info.isInternal = *attributes & Volumes::kIsOnInternalBus;
    info.isExternal = *attributes & Volumes::kIsOnExternalBus;
    const Result<bool> isWritable = volumes.isWritable(path);
    info.isWritable = isWritable.valueOr(info.isWritable);
    return bool(isWritable);
}

std::string DVVolume::fileSystemTypeForPath(const Path &path)
{
    return Volumes::current().typeName(path).valueOr("Unknown");
}

bool DVVolume::isHFSPlusFileSystemForPath(const Path &path)
{
    if (DVArch::runningOnLeopardOrLater())
        return lowercase(fileSystemTypeForPath(path)) == "hfs";
    return fsIsHFSVolumeForPath(path);
}

bool DVVolume::areInSameVolumePath(const Path &path, const Path &otherPath)
{
    return volumeReferenceNumberForPath(path) == volumeReferenceNumberForPath(otherPath);
}

std::uint32_t DVVolume::volumeCapabilitiesForVolumeAtPath(const char *path)
{
    const Result<std::uint32_t> capabilities = Volumes::current().formatCapabilities(path);
    if (capabilities)
        return *capabilities;
    const int number = capabilities.failure().systemError;
    logLine("getattrlist failed, errno: " + std::to_string(number) + " [" + std::strerror(number) + "]");
    return 0;
}

bool DVVolume::exchangedataSupportedInVolumeForPath(const Path &path)
{
    return exchangedataSupportedInVolumeForCPath(path.c_str());
}

bool DVVolume::exchangedataSupportedInVolumeForCPath(const char *path)
{
    const Result<Path> mountPoint = Volumes::current().mountPoint(path);
    const std::uint32_t capabilities = volumeCapabilitiesForVolumeAtPath(mountPoint ? mountPoint->c_str() : "");
    return capabilities & Volumes::kHasActiveJournal;
}
