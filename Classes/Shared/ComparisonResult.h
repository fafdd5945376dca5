#pragma once

/// Where the first of two things goes.
enum class ComparisonResult { Ascending = -1, Same = 0, Descending = 1 };

constexpr ComparisonResult reversed(ComparisonResult result)
{
    return static_cast<ComparisonResult>(-static_cast<int>(result));
}

template <class T>
constexpr ComparisonResult compareValues(const T &left, const T &right)
{
    if (left < right)
        return ComparisonResult::Ascending;
    return right < left ? ComparisonResult::Descending : ComparisonResult::Same;
}
