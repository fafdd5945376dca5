#include "Classes/Util/PXUtil.h"

#include "Platform/FileSystem.h"
#include "Platform/Processes.h"
#include "Platform/UserFolders.h"

#include <algorithm>
#include <charconv>
#include <iterator>

/// The directory in which the folder lies: Application Support or, for a user who has none, the temporary folder.
static Result<Path> baseFolder()
{
    const UserFolders &folders = UserFolders::current();
    Result<Path> base = folders.applicationSupport();
    return base || base.failure().code != ErrorCode::NotFound ? base : folders.temporary();
}

static bool fileExistsAtPath(const Path &path)
{
    return bool(FileSystem::current().status(path, Links::Follow));
}

static std::optional<Path> findFolder()
{
    constexpr std::uint32_t kDefaultAttributes = 0777; // less what the user's mask takes away
    const Result<Path> base = baseFolder();
    if (!base)
        return std::nullopt;
    // The product's earlier names win: who upgraded keeps what lies there.
    for (const char *const name : {"Pellix", "Pellixer", "Tamsel"}) {
        if (fileExistsAtPath(*base / name))
            return *base / name;
    }
    const Path folder = *base / "Tamsel";
    // The helper may have made it since we looked.
    if (FileSystem::current().makeDirectory(folder, kDefaultAttributes) || fileExistsAtPath(folder))
        return folder;
    return std::nullopt;
}

static std::optional<Path> fileInFolder(const char *name)
{
    std::optional<Path> folder = PXUtil::applicationSupportFolder();
    if (folder)
        *folder /= name;
    return folder;
}

std::optional<Path> PXUtil::applicationSupportFolder()
{
    static std::optional<Path> s_folder;
    if (!s_folder)
        s_folder = findFolder();
    return s_folder;
}

std::optional<Path> PXUtil::pathToExclusionPathsFile()
{
    return fileInFolder("excludedPaths.plist");
}

std::optional<Path> PXUtil::pathToExclusionExtensionsFile()
{
    return fileInFolder("excludedExtensions.plist");
}

double PXUtil::timeIntervalSinceLastModificationOfPath(const char *path)
{
    const Result<FileStatus> status = FileSystem::current().status(path, Links::NotFollow);
    if (!status)
        return -1.0;
    // A directory's status changes with things that are no change of its content.
    return timeIntervalSinceTime(status->type == FileType::Directory ? status->modified : status->changed);
}

double PXUtil::timeIntervalSinceTime(std::time_t time)
{
    return double(std::time(nullptr)) - double(time);
}

bool PXUtil::processGroupsInclude(std::uint32_t group)
{
    const auto groups = Processes::current().supplementaryGroups();
    return groups && std::find(groups->begin(), groups->end(), group) != groups->end();
}

std::string PXUtil::getPrettySize(ByteCount size)
{
    if (size <= 1023)
        return std::to_string(size) + " b";
    const bool isKilo = size <= 999'999;
    const bool isMega = size <= 999'999'999;
    const float unit = isKilo ? 1e3f : isMega ? 1e6f : 1e9f;
    // Single precision decides what is shown at the edges of rounding.
    const double quotient = double(float(size) / unit);
    const int places = quotient < 10 ? 2 : quotient < 100 ? 1 : 0;
    char digits[32] = {};
    // The C library's formatting would take the point from the user's locale.
    const auto end = std::to_chars(std::begin(digits), std::end(digits), quotient, std::chars_format::fixed, places);
    return std::string(digits, end.ptr) + (isKilo ? " KB" : isMega ? " MB" : " GB");
}
