#pragma once

#include "Classes/PrefPane/HistoryEntry.h"
#include "Classes/Shared/ComparisonResult.h"

#include <string>
#include <utility>

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

private:
    ComparisonResult compareValuesOf(const HistoryEntry &first, const HistoryEntry &second) const;

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
};
