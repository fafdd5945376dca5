#pragma once

#include "Classes/PrefPane/FolderRefusal.h"
#include "Classes/PrefPane/HistoryModel.h"
#include "Classes/PrefPane/HistoryRecord.h"
#include "Classes/PrefPane/SqliteConnection.h"

#include <vector>

/// Reads of the history store, for both who read it. Each is one statement, ended when it answers, so that no lock
/// stays behind. Errors: those of `SqliteConnection::run`.
namespace HistoryQuery {

/// The records that fit `predicate` (all of them without one), in the order of their keys.
Result<std::vector<HistoryRecord>> records(SqliteConnection &connection, const HistoryModel &model,
                                           const HistoryPredicate *predicate = nullptr);

/// The sum of their savings, modulo 2^64.
Result<ByteCount> sumOfSavings(SqliteConnection &connection, const HistoryModel &model,
                               const HistoryPredicate *predicate = nullptr);

/// The folders that the helper did not take when it was asked last, in their order; none where the store has no table
/// of them. A reason that is not known here is left out.
Result<std::vector<FolderRefusal>> refusals(SqliteConnection &connection);

/// Whether the store can be read and has the table and columns of the model. Errors: Corrupt when not.
Result<void> probe(SqliteConnection &connection, const HistoryModel &model);

} // namespace HistoryQuery
