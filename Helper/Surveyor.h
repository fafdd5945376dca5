#pragma once

#include "Classes/PrefPane/ExclusionListFile.h"
#include "Classes/PrefPane/Exclusions.h"
#include "Classes/Shared/FolderSurvey.h"

#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

/// Surveys folders without what the rules and the user's lists exclude. `readLists` on the main thread, the survey on
/// any.
class Surveyor final
{
public:
    Surveyor(Path excludedPaths, Path excludedExtensions);

    /// Reads both lists anew and answers whether they say something else than before. One that is not there is empty;
    /// one that cannot be read counts as it was, and the log says so once.
    bool readLists();

    /// What surveys leave out from now on, until the lists are read anew. Any thread.
    std::shared_ptr<const Exclusions> exclusions() const;

    /// Folders whose figures are kept: nothing below them counts in a folder around them.
    void setKept(const std::vector<std::string> &folders);

    /// A `FolderSurvey` that logs which files are damaged, each when that or its reason is new. What is read meanwhile
    /// counts from the next on.
    Result<SurveyResult> survey(const Path &folder, SurveyedFiles &counted, FolderSurvey::Progressed progressed,
                                std::stop_token stop) const;

private:
    struct List
    {
        ExclusionListFile file;
        std::vector<std::string> strings;
        std::string trouble; ///< with which it could not be read last time
    };

    static bool read(List &list);
    void logDamaged(const Path &file, const std::string &reason) const;
    std::shared_ptr<const std::set<Path>> kept() const;

    List m_paths;
    List m_extensions;
    mutable std::mutex m_mutex; ///< guards what follows
    std::shared_ptr<const Exclusions> m_exclusions = std::make_shared<const Exclusions>();
    mutable std::map<Path, std::string> m_damaged; ///< what was logged, with the reason
    std::shared_ptr<const std::set<Path>> m_kept = std::make_shared<const std::set<Path>>();
};
