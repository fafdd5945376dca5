#include "Classes/PrefPane/ExclusionRuleSet.h"

#include "Platform/FileSystem.h"
#include "Platform/PropertyList.h"

#include <algorithm>

static constexpr std::size_t kExpectedRules = 50;

const char *nameOf(ExclusionKind kind)
{
    switch (kind) {
    case ExclusionKind::Suffix:
        return "suffix";
    case ExclusionKind::Prefix:
        return "prefix";
    case ExclusionKind::Contains:
        return "contains";
    case ExclusionKind::Exact:
        break;
    }
    return "exact";
}

static std::vector<std::string_view> viewsOf(const ExclusionRuleSet::Strings &strings)
{
    return {strings.begin(), strings.end()};
}

static StringTrie backwards(const ExclusionRuleSet::Strings &strings)
{
    std::vector<std::string> turned;
    turned.reserve(strings.size());
    for (const std::string &string : strings)
        turned.emplace_back(string.rbegin(), string.rend());
    return StringTrie({turned.begin(), turned.end()});
}

ExclusionRuleSet::Index::Index(const ExclusionRuleSet &rules)
    : backwardSuffixes(backwards(rules.m_suffixRules))
    , prefixes(viewsOf(rules.m_prefixRules))
    , components(viewsOf(rules.m_componentRules))
{
}

ExclusionRuleSet::ExclusionRuleSet()
{
    for (Strings *const rules : {&m_suffixRules, &m_prefixRules, &m_componentRules, &m_exactRules})
        rules->reserve(kExpectedRules);
}

void ExclusionRuleSet::loadRulesAt(const Path &file)
{
    (void)addRulesOf(file);
}

Result<std::size_t> ExclusionRuleSet::addRulesOf(const Path &file)
{
    const Result<Bytes> bytes = FileSystem::current().readFile(file, kLargestFile);
    if (!bytes)
        return bytes.failure();
    const Result<PropertyList> list = PropertyList::parse(*bytes);
    if (!list)
        return Failure{list.failure().code, 0, list.failure().context + " of " + file.native()};
    const auto *const elements = list->as<PropertyList::Array>();
    if (!elements)
        return Failure{ErrorCode::Corrupt, 0, "no array of rules: " + file.native()};
    std::size_t count = 0;
    for (const PropertyList &element : *elements)
        count += addRulesIn(element);
    return count;
}

std::size_t ExclusionRuleSet::addRulesIn(const PropertyList &element)
{
    const auto *const entries = element.as<PropertyList::Dictionary>();
    if (!entries || element.string("RuleType") != "Exclude")
        return 0;
    std::size_t count = 0;
    for (const auto &[key, value] : *entries) {
        Strings *const rules = setFor(key);
        const auto *const rule = value.as<std::string>();
        if (!rules || !rule || rule->size() > kLongestRule)
            continue;
        add(*rules, *rule);
        ++count;
    }
    return count;
}

ExclusionRuleSet::Strings *ExclusionRuleSet::setFor(const std::string &key)
{
    if (key == "PathEndsWithString")
        return &m_suffixRules;
    if (key == "PathBeginsWithString")
        return &m_prefixRules;
    if (key == "PathContainsString")
        return &m_componentRules;
    return key == "PathExactlyEqualsString" ? &m_exactRules : nullptr;
}

void ExclusionRuleSet::addRuleForPathSuffix(const std::string &suffix)
{
    add(m_suffixRules, suffix);
}

void ExclusionRuleSet::addRuleForPathPrefix(const std::string &prefix)
{
    add(m_prefixRules, prefix);
}

void ExclusionRuleSet::addRuleForPathComponent(const std::string &component)
{
    add(m_componentRules, component);
}

void ExclusionRuleSet::addRuleForPathEqualsTo(const std::string &path)
{
    add(m_exactRules, path);
}

void ExclusionRuleSet::add(Strings &rules, const std::string &rule)
{
    rules.insert(rule);
    m_current = nullptr;
    m_index.reset();
}

/// Made on the first question after a change: rules come by the hundred.
const ExclusionRuleSet::Index &ExclusionRuleSet::index() const
{
    if (const Index *const current = m_current.load(std::memory_order_acquire))
        return *current;
    const std::lock_guard lock(m_indexing);
    if (!m_index)
        m_index = std::make_unique<const Index>(*this);
    m_current.store(m_index.get(), std::memory_order_release);
    return *m_index;
}

bool ExclusionRuleSet::mustExcludePath(const std::string &path) const
{
    return suffixRuleMatchedForPath(path) || prefixRuleMatchedForPath(path) || componentRuleMatchedForPath(path) ||
           exactRuleMatchedForPath(path);
}

std::optional<ExclusionMatch> ExclusionRuleSet::matchForPath(const std::string &path) const
{
    if (const std::size_t length = suffixLength(path))
        return ExclusionMatch{ExclusionKind::Suffix, path.substr(path.size() - length)};
    if (const std::size_t length = prefixLength(path))
        return ExclusionMatch{ExclusionKind::Prefix, path.substr(0, length)};
    if (const std::string_view component = index().components.firstIn(path); !component.empty())
        return ExclusionMatch{ExclusionKind::Contains, std::string(component)};
    if (exactRuleMatchedForPath(path))
        return ExclusionMatch{ExclusionKind::Exact, path};
    return std::nullopt;
}

std::size_t ExclusionRuleSet::suffixLength(const std::string &path) const
{
    return index().backwardSuffixes.lengthOfStart(path.rbegin(), path.rend());
}

std::size_t ExclusionRuleSet::prefixLength(const std::string &path) const
{
    return index().prefixes.lengthOfStart(path.begin(), path.end());
}

bool ExclusionRuleSet::areFew() const
{
    return m_suffixRules.size() + m_prefixRules.size() + m_componentRules.size() + m_exactRules.size() <= kFewRules;
}

bool ExclusionRuleSet::suffixRuleMatchedForPath(const std::string &path) const
{
    const auto isSuffix = [&path](const std::string &rule) { return !rule.empty() && path.ends_with(rule); };
    return areFew() ? std::ranges::any_of(m_suffixRules, isSuffix) : suffixLength(path) > 0;
}

bool ExclusionRuleSet::prefixRuleMatchedForPath(const std::string &path) const
{
    const auto isPrefix = [&path](const std::string &rule) { return !rule.empty() && path.starts_with(rule); };
    return areFew() ? std::ranges::any_of(m_prefixRules, isPrefix) : prefixLength(path) > 0;
}

bool ExclusionRuleSet::componentRuleMatchedForPath(const std::string &path) const
{
    const auto isPart = [&path](const std::string &rule) { return !rule.empty() && path.find(rule) != path.npos; };
    return areFew() ? std::ranges::any_of(m_componentRules, isPart) : !index().components.firstIn(path).empty();
}

bool ExclusionRuleSet::exactRuleMatchedForPath(const std::string &path) const
{
    return m_exactRules.contains(path);
}

bool ExclusionRuleSet::mustExcludeAllBelow(const std::string &folder) const
{
    const std::string start = folder.ends_with('/') ? folder : folder + "/";
    return prefixRuleMatchedForPath(start) || componentRuleMatchedForPath(start);
}
