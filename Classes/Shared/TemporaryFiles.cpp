#include "Classes/Shared/TemporaryFiles.h"

#include "Classes/Shared/DVVolume.h"
#include "Platform/FileSystem.h"
#include "Platform/UserFolders.h"

#include <unistd.h>

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
    if (!isThere || DVVolume::areInSameVolumePath(path, folder))
        return folder / name;
    // A name that has no room for more is not extended: beside it the short one is as good.
    constexpr std::size_t kLongestName = 255;
    if (path.filename().native().size() + 1 + name.size() > kLongestName)
        return path.parent_path() / name;
    return Path(path.native() + "." + name);
}

std::optional<Path> createTemporaryFile(std::int32_t *descriptor)
{
    const Result<UniqueFile> file = FileSystem::current().makeUniqueFile(temporaryFolder() / "DVS-tmp.");
    if (descriptor)
        *descriptor = file ? file->descriptor : -1;
    else if (file)
        ::close(file->descriptor); // which nobody else can
    if (!file)
        return std::nullopt;
    return file->path;
}
