#pragma once

#include "Classes/PrefPane/ExclusionRuleSet.h"

#include <string>
#include <unordered_set>
#include <vector>

/// What is left alone: the rules, the user's excluded paths and the user's excluded extensions together. Pane and
/// helper ask the same one. A value that never changes; any thread.
class Exclusions final
{
public:
    /// Excludes nothing.
    Exclusions() = default;

    /// `rules` may be nullptr and outlives this. `paths` are absolute; "/" and what is not absolute count for nothing.
    /// Where one is or lies behind a symbolic link, the place that is meant counts as well. `extensions` are without
    /// their dot. Looks at the disk.
    Exclusions(const ExclusionRuleSet *rules, const std::vector<std::string> &paths,
               const std::vector<std::string> &extensions);

    /// Whether the file or folder at the absolute path, which has no slash at its end, is left alone.
    bool leavesOut(const std::string &path) const;

    /// Whether everything below the folder is, so that there is no need to go into it.
    bool leavesOutAllBelow(const std::string &folder) const;

    /// Whether the path is one of the excluded or lies below one. Names are compared as bytes.
    bool leavesOutByPath(const std::string &path) const;

    /// Whether the name at the end of the path has one of the extensions. "a.tar.gz" has both "tar.gz" and "gz", ".gz"
    /// has none. Case counts.
    bool leavesOutByExtension(const std::string &path) const;

private:
    void addPath(std::string path);

    const ExclusionRuleSet *m_rules = nullptr;
    std::unordered_set<std::string> m_paths; ///< without a slash at the end
    std::unordered_set<std::string> m_extensions;
};
