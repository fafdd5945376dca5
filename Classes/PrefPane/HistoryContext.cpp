#include "Classes/PrefPane/HistoryContext.h"

#include "Classes/Shared/Log.h"

std::vector<HistoryRecord> HistoryContext::executeFetchRequest(const HistoryPredicate *predicate)
{
    Result<std::vector<HistoryRecord>> records = m_store.records(predicate);
    note(records ? std::string() : records.failure().context);
    return records ? *std::move(records) : std::vector<HistoryRecord>();
}

ByteCount HistoryContext::sumOfSavings(const HistoryPredicate *predicate)
{
    const Result<ByteCount> sum = m_store.sumOfSavings(predicate);
    note(sum ? std::string() : sum.failure().context);
    return sum.valueOr(0);
}

/// The helper may announce savings four times a second; one failure is one line.
void HistoryContext::note(const std::string &failure)
{
    if (!failure.empty() && failure != m_lastFailure)
        logLine("The history could not be read: " + failure);
    m_lastFailure = failure;
}
