#include "Classes/PrefPane/HistoryPredicate.h"

#include <algorithm>

Result<HistoryPredicate> HistoryPredicate::parse(const std::string &text)
{
    const std::string comparison = " == ";
    const auto place = text.find(comparison);
    if (place == std::string::npos)
        return Failure{ErrorCode::Corrupt, 0, "no comparison in the predicate \"" + text + '"'};
    const std::string attribute = text.substr(0, place);
    const std::string value = text.substr(place + comparison.size());
    const auto isLetter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
    if (attribute.empty() || !std::all_of(attribute.begin(), attribute.end(), isLetter))
        return Failure{ErrorCode::Corrupt, 0, "no attribute in the predicate \"" + text + '"'};
    if (value != "YES" && value != "NO")
        return Failure{ErrorCode::Corrupt, 0, "no truth value in the predicate \"" + text + '"'};
    return HistoryPredicate{attribute, value == "YES"};
}
