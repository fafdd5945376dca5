#include "Classes/Shared/TemporaryFiles.h"

#include "Classes/Shared/DVVolume.h"
#include "Platform/FileSystem.h"
#include "Platform/UserFolders.h"

static Path temporaryFolder()
{
    return UserFolders::current().temporary().valueOr("/tmp");
}

/// The same number for the same bytes on every machine: FNV-1a of 32 bits.
static std::uint32_t hash(const std::string &text)
{
    std::uint32_t number = 2166136261u;
    for (const char byte : text)
        number = (number ^ std::uint8_t(byte)) * 16777619u;
    return number;
}

Path getTemporaryFileNameBasedOnExistingPath(const Path &path)
{
    const Path folder = temporaryFolder();
    // Two processes in different folders can mean different files by one relative path.
    std::error_code failure;
    const Path absolute = std::filesystem::absolute(path, failure);
    const std::string name = "DVS-tmp-" + std::to_string(hash(failure ? path.native() : absolute.native()));
    const bool isThere = bool(FileSystem::current().status(path, Links::Follow));
    if (isThere && !DVVolume::areInSameVolumePath(path, folder))
        return Path(path.native() + "." + name);
    return folder / name;
}

std::optional<Path> createTemporaryFile(std::int32_t *descriptor)
{
    const Result<UniqueFile> file = FileSystem::current().makeUniqueFile(temporaryFolder() / "DVS-tmp.");
    if (descriptor)
        *descriptor = file ? file->descriptor : -1;
    if (!file)
        return std::nullopt;
    return file->path;
}
