#pragma once

#include "Platform/Result.h"

#include <string>

/// What a fetch request asks of a record: that a boolean attribute is YES, or NO. A value.
struct HistoryPredicate
{
    std::string attribute;
    bool value = true;

    /// Reads the form "ATTRIBUTE == YES" or "ATTRIBUTE == NO". Errors: Corrupt for anything else.
    static Result<HistoryPredicate> parse(const std::string &text);

    friend bool operator==(const HistoryPredicate &, const HistoryPredicate &) = default;
};
