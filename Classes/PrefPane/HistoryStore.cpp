#include "Classes/PrefPane/HistoryStore.h"

#include "Classes/PrefPane/HistoryQuery.h"

Result<std::unique_ptr<HistoryStore>> HistoryStore::open(const Path &file, const HistoryModel &model)
{
    std::unique_ptr<HistoryStore> store(new HistoryStore(file, model));
    const Result<void> opened = store->follow();
    if (!opened && opened.failure().code != ErrorCode::Busy)
        return opened.failure();
    return store;
}

Result<std::vector<HistoryRecord>> HistoryStore::records(const HistoryPredicate *predicate)
{
    if (const Result<void> followed = follow(); !followed)
        return followed.failure();
    return HistoryQuery::records(*m_connection, m_model, predicate);
}

Result<ByteCount> HistoryStore::sumOfSavings(const HistoryPredicate *predicate)
{
    if (const Result<void> followed = follow(); !followed)
        return followed.failure();
    return HistoryQuery::sumOfSavings(*m_connection, m_model, predicate);
}

Result<std::vector<FolderRefusal>> HistoryStore::refusals()
{
    if (const Result<void> followed = follow(); !followed)
        return followed.failure();
    return HistoryQuery::refusals(*m_connection);
}

Result<void> HistoryStore::follow()
{
    // As long as the old file is open its number is not given to another.
    const Result<FileStatus> status = FileSystem::current().status(m_file, Links::Follow);
    if (!status)
        return status.failure();
    if (m_connection && status->identity == m_identity)
        return {};
    Result<std::unique_ptr<SqliteConnection>> connection =
        SqliteConnection::open(m_file, SqliteConnection::Mode::ReadOnly, int(kBusyTimeout.count()));
    if (!connection)
        return connection.failure();
    if (const Result<void> probed = HistoryQuery::probe(**connection, m_model); !probed)
        return probed;
    m_connection = *std::move(connection);
    m_identity = status->identity;
    return {};
}
