#include "Classes/PrefPane/PXSortDescriptor.h"

#include "Classes/Shared/LastPathComponentCompare.h"

ComparisonResult SortDescriptor::compareObject(const HistoryEntry &first, const HistoryEntry &second) const
{
    const ComparisonResult result = compareValuesOf(first, second);
    return m_isAscending ? result : reversed(result);
}

ComparisonResult SortDescriptor::compareValuesOf(const HistoryEntry &first, const HistoryEntry &second) const
{
    const HistoryEntry::Value firstValue = first.value(m_key);
    const HistoryEntry::Value secondValue = second.value(m_key);
    const auto *firstText = std::get_if<std::string>(&firstValue);
    const auto *secondText = std::get_if<std::string>(&secondValue);
    if (!firstText || !secondText)
        return compareValues(firstValue, secondValue);

    const QString left = QString::fromStdString(*firstText);
    const QString right = QString::fromStdString(*secondText);
    switch (m_selector) {
    case Selector::CaseInsensitiveCompare:
        return caseInsensitiveCompare(left, right);
    case Selector::LastPathComponentCompare:
        return lastPathComponentCompare(left, right);
    case Selector::Compare:
        break;
    }
    return compareValues(left, right);
}

ComparisonResult PXSortDescriptor::compareObject(const HistoryEntry &first, const HistoryEntry &second) const
{
    if (first.sortID == HistoryEntry::kOtherSortID)
        return ComparisonResult::Descending;
    if (second.sortID == HistoryEntry::kOtherSortID)
        return ComparisonResult::Ascending;
    return SortDescriptor::compareObject(first, second);
}
