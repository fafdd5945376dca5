#include "Classes/PrefPane/AddFoldersRequest.h"

#include "Platform/UserFolders.h"

#include <algorithm>
#include <array>
#include <utility>

/// Below these the system mounts what is not its boot volume.
static bool isBelowVolumes(const std::string &folder)
{
    static constexpr std::array kMountFolders{"/Volumes/", "/media/", "/run/media/", "/mnt/"};
    return std::ranges::any_of(kMountFolders, [&](const char *place) { return folder.starts_with(place); });
}

AddFoldersRequest::Verdict AddFoldersRequest::verdictOn(const std::string &folder, bool isInfoWhole,
                                                        const DVVolumeInfo &info, const std::string &home)
{
    if (isInfoWhole && info.isHFSPlus && info.isWritable && info.isInternal && !info.isRemovable)
        return isBelowVolumes(folder) ? Verdict::Warned : Verdict::Accepted;
    // The home of a user who keeps it in an image, which is mounted at login.
    if (info.isWritable && !info.isInternal && !info.isExternal && isInfoWhole && info.isRemovable &&
        info.isEjectable && !home.empty() && folder.starts_with(home))
        return Verdict::Accepted;
    return info.isRemovable ? Verdict::Dropped : Verdict::Warned;
}

AddFoldersRequest AddFoldersRequest::classify(std::vector<std::string> chosen)
{
    const std::string home = UserFolders::current().home().valueOr(Path()).native();
    AddFoldersRequest request;
    request.accepted = chosen;
    for (const std::string &folder : chosen) {
        DVVolumeInfo info; // a new one each time, so that a query that fails says nothing
        const bool isWhole = DVVolume::volumeInfoForPath(folder, info);
        const Verdict verdict = verdictOn(folder, isWhole, info, home);
        if (verdict == Verdict::Dropped)
            std::erase(request.accepted, folder);
        else if (verdict == Verdict::Warned)
            request.warned.push_back(folder);
    }
    request.chosen = std::move(chosen);
    return request;
}

void AddFoldersRequest::rejectWarned()
{
    std::erase_if(accepted, [this](const std::string &folder) { return std::ranges::count(warned, folder) > 0; });
}
