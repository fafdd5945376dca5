#pragma once

#include "Classes/PrefPane/HistoryRecord.h"
#include "Classes/PrefPane/HistoryStore.h"

#include <QUndoStack>

#include <string>
#include <vector>

/// Through which the pane reads the history. It keeps no values between two fetches, so nothing of what it answers can
/// be older than the store. Errors are not collected: a failed fetch is one without records, and is logged. A store
/// that was found locked is not waited for again before `refresh`. Main thread.
class HistoryContext final
{
public:
    /// `store` must outlive it.
    explicit HistoryContext(HistoryStore &store)
        : m_store(store)
    {
    }

    /// Executes the fetch, and so tries a store anew that was locked.
    void refresh(const HistoryPredicate *predicate);

    /// Whether the last fetch came upon a store that another process had locked.
    bool isStoreLocked() const { return m_isStoreLocked; }

    /// The records that fit `predicate`, all of them without one, in the order of their keys.
    std::vector<HistoryRecord> executeFetchRequest(const HistoryPredicate *predicate = nullptr);

    /// The sum of their savings, modulo 2^64.
    ByteCount sumOfSavings(const HistoryPredicate *predicate = nullptr);

    /// The folders that the helper did not take when it was asked last.
    std::vector<FolderRefusal> refusals();

    /// Nothing is ever changed through the context, so this stays empty.
    QUndoStack *undoManager() { return &m_undoManager; }

private:
    template <class T>
    T answerOf(Result<T> result);

    HistoryStore &m_store;
    QUndoStack m_undoManager;
    std::string m_lastFailure;
    bool m_isStoreLocked = false;
};
