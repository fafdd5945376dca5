#pragma once

#include "Classes/PrefPane/FolderRefusal.h"
#include "Classes/PrefPane/HistoryModel.h"
#include "Classes/PrefPane/HistoryRecord.h"
#include "Classes/PrefPane/SqliteConnection.h"
#include "Platform/FileSystem.h"

#include <chrono>
#include <memory>
#include <vector>

/// The history store as it is on disk now, read only. Each answer is as new as the last commit of the writer; where
/// another file has taken the store's place, that one is read from then on. Main thread.
class HistoryStore final
{
public:
    /// How long a locked store is waited for. Readers run on the main thread: opening one and reading it together stay
    /// below a tenth of a second.
    static constexpr std::chrono::milliseconds kBusyTimeout{40};

    /// Opens the store and tries it with a query. One that is only busy is opened all the same. Errors: NotFound,
    /// Permission, Corrupt (damaged, or of another model), Io.
    static Result<std::unique_ptr<HistoryStore>> open(const Path &file, const HistoryModel &model);

    /// The records that fit `predicate`, all of them without one, in the order of their keys. Errors: as above, and
    /// Busy after `kBusyTimeout`.
    Result<std::vector<HistoryRecord>> records(const HistoryPredicate *predicate);

    /// The sum of their savings, modulo 2^64. Errors: as above.
    Result<ByteCount> sumOfSavings(const HistoryPredicate *predicate);

    /// The folders that the helper did not take when it was asked last. Errors: as above.
    Result<std::vector<FolderRefusal>> refusals();

private:
    HistoryStore(Path file, const HistoryModel &model)
        : m_file(std::move(file))
        , m_model(model)
    {
    }

    /// Makes sure that what is open is the file of that name.
    Result<void> follow();

    Path m_file;
    HistoryModel m_model;
    FileIdentity m_identity;
    std::unique_ptr<SqliteConnection> m_connection;
};
