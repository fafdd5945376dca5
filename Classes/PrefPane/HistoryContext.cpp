#include "Classes/PrefPane/HistoryContext.h"

#include "Classes/Shared/Log.h"

#include <utility>

void HistoryContext::refresh(const HistoryPredicate *predicate)
{
    m_isStoreLocked = false;
    executeFetchRequest(predicate);
}

std::vector<HistoryRecord> HistoryContext::executeFetchRequest(const HistoryPredicate *predicate)
{
    if (m_isStoreLocked)
        return {};
    return answerOf(m_store.records(predicate));
}

ByteCount HistoryContext::sumOfSavings(const HistoryPredicate *predicate)
{
    if (m_isStoreLocked)
        return 0;
    return answerOf(m_store.sumOfSavings(predicate));
}

std::vector<FolderRefusal> HistoryContext::refusals()
{
    if (m_isStoreLocked)
        return {};
    return answerOf(m_store.refusals());
}

/// The helper may announce savings four times a second; one failure is one line.
template <class T>
T HistoryContext::answerOf(Result<T> result)
{
    m_isStoreLocked = !result && result.failure().code == ErrorCode::Busy;
    const std::string failure = result ? std::string() : result.failure().context;
    if (!failure.empty() && failure != m_lastFailure)
        logLine("The history could not be read: " + failure);
    m_lastFailure = failure;
    return result ? *std::move(result) : T();
}
