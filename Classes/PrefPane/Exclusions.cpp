#include "Classes/PrefPane/Exclusions.h"

#include <filesystem>
#include <system_error>

Exclusions::Exclusions(const ExclusionRuleSet *rules, const std::vector<std::string> &paths,
                       const std::vector<std::string> &extensions)
    : m_rules(rules)
    , m_extensions(extensions.begin(), extensions.end())
{
    m_extensions.erase(std::string());
    for (const std::string &path : paths) {
        addPath(path);
        std::error_code failed;
        const Path meant = std::filesystem::canonical(path, failed);
        if (!failed && path.starts_with('/'))
            addPath(meant.native());
    }
}

void Exclusions::addPath(std::string path)
{
    while (path.ends_with('/'))
        path.pop_back();
    if (path.starts_with('/'))
        m_paths.insert(std::move(path));
}

bool Exclusions::leavesOut(const std::string &path) const
{
    return leavesOutByPath(path) || leavesOutByExtension(path) || (m_rules && m_rules->mustExcludePath(path));
}

bool Exclusions::leavesOutAllBelow(const std::string &folder) const
{
    return leavesOutByPath(folder) || (m_rules && m_rules->mustExcludeAllBelow(folder));
}

bool Exclusions::leavesOutByPath(const std::string &path) const
{
    if (m_paths.empty())
        return false;
    for (std::size_t end = path.find('/', 1); end != std::string::npos; end = path.find('/', end + 1)) {
        if (m_paths.contains(path.substr(0, end)))
            return true;
    }
    return m_paths.contains(path);
}

bool Exclusions::leavesOutByExtension(const std::string &path) const
{
    if (m_extensions.empty())
        return false;
    const std::size_t name = path.rfind('/') + 1; // 0 when there is no slash
    for (std::size_t dot = path.find('.', name + 1); dot != std::string::npos; dot = path.find('.', dot + 1)) {
        if (m_extensions.contains(path.substr(dot + 1)))
            return true;
    }
    return false;
}
