#pragma once

#include "Classes/PrefPane/HistoryEntry.h"
#include "Classes/Shared/ComparisonResult.h"

#include <QString>

#include <cstdint>
#include <string>
#include <utility>
#include <variant>

/// Orders history entries by one of their values. A value.
class SortDescriptor
{
public:
    enum class Selector { Compare, CaseInsensitiveCompare, LastPathComponentCompare };

    explicit SortDescriptor(std::string key, bool isAscending = true, Selector selector = Selector::Compare)
        : m_key(std::move(key))
        , m_isAscending(isAscending)
        , m_selector(selector)
    {
    }

    const std::string &key() const { return m_key; }
    bool isAscending() const { return m_isAscending; }
    Selector selector() const { return m_selector; }
    void setAscending(bool isAscending) { m_isAscending = isAscending; }

    /// Where the first entry goes. An entry without the value goes before those that have it; descending, the other way
    /// round.
    ComparisonResult compareObject(const HistoryEntry &first, const HistoryEntry &second) const;

    /// What is compared of an entry, for who compares the same entries often.
    using Compared = std::variant<std::monostate, std::uint64_t, QString>;
    Compared comparedOf(const HistoryEntry &entry) const;
    ComparisonResult compare(const Compared &first, const Compared &second) const;

private:
    std::string m_key;
    bool m_isAscending = true;
    Selector m_selector = Selector::Compare;
};

/// Keeps the entry with the `sortID` 1 last, in both directions. Of two such entries, the first goes last.
class PXSortDescriptor final : public SortDescriptor
{
public:
    using SortDescriptor::SortDescriptor;

    ComparisonResult compareObject(const HistoryEntry &first, const HistoryEntry &second) const;

    /// The same, with what `comparedOf` has answered for each.
    ComparisonResult compareObject(const HistoryEntry &first, const Compared &firstCompared, const HistoryEntry &second,
                                   const Compared &secondCompared) const;
};
