#pragma once

#include "Classes/PrefPane/ExclusionRuleSet.h"

#include <algorithm>

/// The answer of `ExclusionRuleSet::mustExcludePath`, found by asking every rule.
inline bool matchesPlainly(const ExclusionRuleSet &rules, const std::string &path)
{
    using Text = const std::string &;
    const auto endsWith = [&](Text rule) { return !rule.empty() && path.ends_with(rule); };
    const auto startsWith = [&](Text rule) { return !rule.empty() && path.starts_with(rule); };
    const auto contains = [&](Text rule) { return !rule.empty() && path.find(rule) != path.npos; };
    const auto equals = [&](Text rule) { return path == rule; };
    return std::ranges::any_of(rules.suffixRules(), endsWith) || std::ranges::any_of(rules.prefixRules(), startsWith) ||
           std::ranges::any_of(rules.componentRules(), contains) || std::ranges::any_of(rules.exactRules(), equals);
}
