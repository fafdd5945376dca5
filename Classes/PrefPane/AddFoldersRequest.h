#pragma once

#include "Classes/Shared/DVVolume.h"

#include <string>
#include <vector>

/// Folders that the user wants to be watched, sorted by what their volumes are good for. A value.
struct AddFoldersRequest
{
    enum class Verdict {
        Accepted,
        Warned, ///< accepted, unless the user is warned and does not want it
        Dropped
    };

    std::vector<std::string> chosen;   ///< as the user chose them: twice, nested or watched already
    std::vector<std::string> accepted; ///< `chosen` without those that were dropped
    std::vector<std::string> warned;   ///< in the order in which they were chosen

    /// Asks for the volume of each folder, which may take its time.
    static AddFoldersRequest classify(std::vector<std::string> chosen);

    /// What becomes of a folder on such a volume; `info` is nothing but false where the query failed at once.
    static Verdict verdictOn(const std::string &folder, bool isInfoWhole, const DVVolumeInfo &info,
                             const std::string &home);

    /// Leaves out every folder that was warned about.
    void rejectWarned();

    bool hasDropped() const { return accepted.size() < chosen.size(); }
};
