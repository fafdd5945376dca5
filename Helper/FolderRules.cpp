#include "Helper/FolderRules.h"

#include "Classes/Shared/stringWithFileSystemRepresentation.h"
#include "Platform/UserFolders.h"
#include "Platform/isInside.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

// The system's with all that is in them, but for what is in those places of them that are for users and their disks.
static constexpr const char *kSystemTrees[] = {"/bin",    "/boot", "/dev", "/etc",  "/lib", "/lib32", "/lib64",
                                               "/libx32", "/proc", "/run", "/sbin", "/sys", "/usr",   "/var"};
static constexpr const char *kUsersTrees[] = {"/dev/shm",  "/run/media", "/run/user", "/usr/local",
                                              "/var/home", "/var/mnt",   "/var/tmp"};

// The system's themselves; what is in them may be anybody's.
static constexpr const char *kSystemFolders[] = {"/Volumes", "/home", "/media", "/mnt", "/opt", "/srv", "/tmp"};

FolderRules::FolderRules(const Path &ownFiles)
    : m_ownFiles(stringByCanonicalizingPath(ownFiles))
    , m_home(stringByCanonicalizingPath(UserFolders::current().home().valueOr(Path())))
{
}

bool FolderRules::isOfTheSystem(const Path &folder) const
{
    if (!m_home.empty() && m_home != m_home.root_path() && isInside(folder, m_home))
        return false; // that of a service may lie anywhere
    const auto holds = [&](const char *tree) { return isInside(folder, tree); };
    const auto isIt = [&](const char *each) { return folder == each; };
    if (std::ranges::any_of(kUsersTrees, holds))
        return std::ranges::any_of(kUsersTrees, isIt);
    return std::ranges::any_of(kSystemTrees, holds) || std::ranges::any_of(kSystemFolders, isIt);
}

std::optional<FolderRefusal::Reason> FolderRules::reasonAgainst(const Path &folder) const
{
    using Reason = FolderRefusal::Reason;
    std::error_code failure;
    const bool isFolder = folder.is_absolute() && std::filesystem::is_directory(folder, failure);
    if (!isFolder)
        return failure == std::errc::permission_denied ? Reason::Unreadable : Reason::Missing;
    const Path place = stringByCanonicalizingPath(folder);
    if (place == place.root_path())
        return Reason::WholeDisk;
    if (isInside(place, m_ownFiles))
        return Reason::OwnFiles;
    if (isOfTheSystem(place))
        return Reason::System;
    // Opening alone needs the right to read, looking at what is in it the right to search.
    const std::filesystem::directory_iterator entries(place, failure);
    if (failure || !std::filesystem::exists(place / ".", failure))
        return Reason::Unreadable;
    return std::nullopt;
}
