#pragma once

#include "Classes/Shared/StringTrie.h"
#include "Classes/Shared/SubstringSearch.h"
#include "Platform/Result.h"
#include "Platform/Types.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_set>

class PropertyList;

/// The kinds of rules, in the order in which they are asked.
enum class ExclusionKind { Suffix, Prefix, Contains, Exact };

/// "suffix", "prefix", "contains", "exact"
const char *nameOf(ExclusionKind kind);

/// The first kind of rule that matched a path, and a rule of that kind that did.
struct ExclusionMatch
{
    ExclusionKind kind = ExclusionKind::Suffix;
    std::string rule;
};

/// Rules that say of a path that its file must never be touched by compression: four sets of strings, one for each
/// kind. Paths are bytes as they are given, compared literally; nothing is normalised or resolved. An empty string
/// matches nothing but, as an exact rule, the empty path.
///
/// An answer takes a time that grows with the length of the path, not with the number of rules. Any number of threads
/// may match; nothing may be added meanwhile.
class ExclusionRuleSet
{
public:
    using Strings = std::unordered_set<std::string>;

    /// A longer path cannot be given to the system, so a longer rule is none.
    static constexpr std::size_t kLongestRule = 4096;
    static constexpr ByteCount kLargestFile = 16u << 20;

    /// Up to so many rules in all are walked over, which is the quicker way then.
    static constexpr std::size_t kFewRules = 12;

    ExclusionRuleSet();
    ExclusionRuleSet(const ExclusionRuleSet &) = delete;
    ExclusionRuleSet &operator=(const ExclusionRuleSet &) = delete;

    /// Adds the rules of a file; one that is missing or no list of rules adds none, and nothing is said of it.
    void loadRulesAt(const Path &file);

    /// The same with an answer: how many rules the file gave. Left out are elements that are no dictionary, whose
    /// "RuleType" is not "Exclude", and values that are no string or longer than `kLongestRule`. Errors: those of
    /// reading (TooLarge over `kLargestFile`), Corrupt when the file holds no property list or no array.
    Result<std::size_t> addRulesOf(const Path &file);

    void addRuleForPathSuffix(const std::string &suffix);
    void addRuleForPathPrefix(const std::string &prefix);
    /// Any part of the path, not only a whole component.
    void addRuleForPathComponent(const std::string &component);
    void addRuleForPathEqualsTo(const std::string &path);

    bool mustExcludePath(const std::string &path) const;
    std::optional<ExclusionMatch> matchForPath(const std::string &path) const;

    bool suffixRuleMatchedForPath(const std::string &path) const;
    bool prefixRuleMatchedForPath(const std::string &path) const;
    bool componentRuleMatchedForPath(const std::string &path) const;
    bool exactRuleMatchedForPath(const std::string &path) const;

    /// Whether every path below the folder is excluded, because a rule of the kinds that look at no end matches
    /// already.
    bool mustExcludeAllBelow(const std::string &folder) const;

    const Strings &suffixRules() const { return m_suffixRules; }
    const Strings &prefixRules() const { return m_prefixRules; }
    const Strings &componentRules() const { return m_componentRules; }
    const Strings &exactRules() const { return m_exactRules; }

private:
    /// The sets in the form that is searched.
    struct Index
    {
        explicit Index(const ExclusionRuleSet &rules);

        StringTrie backwardSuffixes;
        StringTrie prefixes;
        SubstringSearch components;
    };

    std::size_t addRulesIn(const PropertyList &element);
    Strings *setFor(const std::string &key);
    void add(Strings &rules, const std::string &rule);
    const Index &index() const;
    bool areFew() const;
    std::size_t suffixLength(const std::string &path) const;
    std::size_t prefixLength(const std::string &path) const;

    Strings m_suffixRules;
    Strings m_prefixRules;
    Strings m_componentRules;
    Strings m_exactRules;

    mutable std::mutex m_indexing; ///< guards the making of the index
    mutable std::unique_ptr<const Index> m_index;
    mutable std::atomic<const Index *> m_current = nullptr; ///< nullptr until it is made of the sets as they are
};
