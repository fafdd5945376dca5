#include "Helper/Surveyor.h"

#include "Classes/PrefPane/PXExclusionRules.h"
#include "Classes/Shared/Log.h"

#include <utility>

Surveyor::Surveyor(Path excludedPaths, Path excludedExtensions)
    : m_paths{ExclusionListFile(std::move(excludedPaths)), {}, {}}
    , m_extensions{ExclusionListFile(std::move(excludedExtensions)), {}, {}}
{
}

bool Surveyor::readLists()
{
    const bool hasPaths = read(m_paths);
    const bool hasExtensions = read(m_extensions);
    // Made each time: a link in an excluded path may lead elsewhere by now.
    auto exclusions = std::make_shared<const Exclusions>(PXExclusionRules::sharedExclusionRules(), m_paths.strings,
                                                         m_extensions.strings);
    {
        const std::lock_guard lock(m_mutex);
        m_exclusions = std::move(exclusions);
    }
    if (hasPaths || hasExtensions)
        logLine("Excluded: " + std::to_string(m_paths.strings.size()) + " paths, " +
                std::to_string(m_extensions.strings.size()) + " extensions");
    return hasPaths || hasExtensions;
}

bool Surveyor::read(List &list)
{
    Result<std::vector<std::string>> strings = list.file.read();
    if (!strings && strings.failure().code == ErrorCode::NotFound)
        strings = std::vector<std::string>();
    const std::string trouble = strings ? std::string() : strings.failure().context;
    if (std::exchange(list.trouble, trouble) != trouble && !trouble.empty())
        logLine("An exclusion list cannot be read: " + trouble);
    if (!strings || *strings == list.strings)
        return false;
    list.strings = std::move(*strings);
    return true;
}

void Surveyor::setKept(const std::vector<std::string> &folders)
{
    auto kept = std::make_shared<const std::set<Path>>(folders.begin(), folders.end());
    const std::lock_guard lock(m_mutex);
    m_kept = std::move(kept);
}

std::shared_ptr<const Exclusions> Surveyor::exclusions() const
{
    const std::lock_guard lock(m_mutex);
    return m_exclusions;
}

std::shared_ptr<const std::set<Path>> Surveyor::kept() const
{
    const std::lock_guard lock(m_mutex);
    return m_kept;
}

Result<SurveyResult> Surveyor::survey(const Path &folder, SurveyedFiles &counted, FolderSurvey::Progressed progressed,
                                      std::stop_token stop) const
{
    const auto exclusions = this->exclusions();
    const auto kept = this->kept();
    FolderSurvey survey(folder, counted);
    survey.setProgressed(std::move(progressed));
    survey.setLeftOut([&](const Path &path) { return exclusions->leavesOut(path); },
                      [&](const Path &path) {
                          return exclusions->leavesOutAllBelow(path) || (path != folder && kept->contains(path));
                      });
    survey.setFoundDamaged([this](const Path &file, const std::string &reason) { logDamaged(file, reason); });
    return survey.run(std::move(stop));
}

void Surveyor::logDamaged(const Path &file, const std::string &reason) const
{
    {
        const std::lock_guard lock(m_mutex);
        if (std::exchange(m_damaged[file], reason) == reason)
            return;
    }
    logLine("Damaged compressed file, not counted: " + file.native() + ": " + reason);
}
