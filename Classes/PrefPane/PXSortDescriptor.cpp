#include "Classes/PrefPane/PXSortDescriptor.h"

#include "Classes/Shared/LastPathComponentCompare.h"

ComparisonResult SortDescriptor::compareObject(const HistoryEntry &first, const HistoryEntry &second) const
{
    return compare(comparedOf(first), comparedOf(second));
}

SortDescriptor::Compared SortDescriptor::comparedOf(const HistoryEntry &entry) const
{
    const HistoryEntry::Value value = entry.value(m_key);
    if (const auto *const number = std::get_if<std::uint64_t>(&value))
        return *number;
    const auto *const text = std::get_if<std::string>(&value);
    if (!text)
        return {};
    const QString shown = QString::fromStdString(*text);
    return m_selector == Selector::LastPathComponentCompare ? lastPathComponent(shown) : shown;
}

ComparisonResult SortDescriptor::compare(const Compared &first, const Compared &second) const
{
    const auto *const left = std::get_if<QString>(&first);
    const auto *const right = std::get_if<QString>(&second);
    const bool isWithoutCase = left && right && m_selector != Selector::Compare;
    const ComparisonResult result =
        isWithoutCase ? caseInsensitiveCompare(*left, *right) : compareValues(first, second);
    return m_isAscending ? result : reversed(result);
}

ComparisonResult PXSortDescriptor::compareObject(const HistoryEntry &first, const HistoryEntry &second) const
{
    return compareObject(first, comparedOf(first), second, comparedOf(second));
}

ComparisonResult PXSortDescriptor::compareObject(const HistoryEntry &first, const Compared &firstCompared,
                                                 const HistoryEntry &second, const Compared &secondCompared) const
{
    if (first.sortID == HistoryEntry::kOtherSortID)
        return ComparisonResult::Descending;
    if (second.sortID == HistoryEntry::kOtherSortID)
        return ComparisonResult::Ascending;
    return compare(firstCompared, secondCompared);
}
