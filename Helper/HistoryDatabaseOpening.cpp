// How the store is opened, checked, and made anew when it is damaged.
#include "Helper/HistoryDatabase.h"

#include "Classes/PrefPane/HistoryQuery.h"
#include "Classes/PrefPane/HistorySeed.h"
#include "Classes/Shared/Log.h"

// Readers hold their locks for the length of one statement; more than this is somebody who has gone astray.
static constexpr int kBusyTimeoutMs = 500;

Result<std::unique_ptr<HistoryDatabase>> HistoryDatabase::open(const Path &store, const Path &seed,
                                                               const HistoryModel &model)
{
    if (const Result<void> made = HistorySeed::makeStore(store, seed); !made)
        return made.failure();
    const auto cleared = HistorySeed::clearCompanions(store);
    if (!cleared)
        return cleared.failure();
    if (*cleared)
        logLine("What was no file is kept as " + (*cleared)->native());
    Result<std::unique_ptr<HistoryDatabase>> database = openWhole(store, model);
    if (database || database.failure().code != ErrorCode::Corrupt)
        return database;

    const std::string reason = database.failure().context;
    const Result<Path> aside = HistorySeed::replaceStore(store, seed);
    if (!aside)
        return aside.failure();
    logLine("The history database was damaged (" + reason + ") and is kept as " + aside->native());
    return openWhole(store, model);
}

/// Nothing of a damaged store is open any more when this answers Corrupt.
Result<std::unique_ptr<HistoryDatabase>> HistoryDatabase::openWhole(const Path &store, const HistoryModel &model)
{
    // Read only at first: a writer would tidy the journals of a damaged store away. What only a writer can put right,
    // such as a transaction that was broken off, is no damage.
    Result<std::unique_ptr<HistoryDatabase>> database = openChecked(store, model, SqliteConnection::Mode::ReadOnly);
    if (!database && database.failure().code == ErrorCode::Corrupt)
        return database;
    database = openChecked(store, model, SqliteConnection::Mode::ReadWrite);
    if (!database)
        return database;
    if (const Result<void> prepared = (*database)->prepareForWriting(); !prepared)
        return prepared.failure();
    return database;
}

Result<std::unique_ptr<HistoryDatabase>> HistoryDatabase::openChecked(const Path &store, const HistoryModel &model,
                                                                      SqliteConnection::Mode mode)
{
    Result<std::unique_ptr<SqliteConnection>> connection = SqliteConnection::open(store, mode, kBusyTimeoutMs);
    if (!connection)
        return connection.failure();
    std::unique_ptr<HistoryDatabase> database(new HistoryDatabase(*std::move(connection), model));
    if (const Result<void> checked = database->check(); !checked)
        return checked.failure();
    return database;
}

HistoryDatabase::HistoryDatabase(std::unique_ptr<SqliteConnection> connection, const HistoryModel &model)
    : m_connection(std::move(connection))
    , m_model(model)
    , m_table(quoted(model.table()))
{
}

Result<void> HistoryDatabase::check()
{
    Result<QSqlQuery> query = m_connection->run("PRAGMA integrity_check(1)");
    if (!query)
        return query.failure();
    const std::string verdict = query->next() ? query->value(0).toString().simplified().toStdString() : std::string();
    if (const Result<void> ended = SqliteConnection::end(*query); !ended)
        return ended;
    if (verdict != "ok")
        return Failure{ErrorCode::Corrupt, 0, "integrity check: " + verdict};
    if (const Result<void> probed = HistoryQuery::probe(*m_connection, m_model); !probed)
        return probed;
    const Result<std::optional<qint64>> entity = number("SELECT \"Z_ENT\" FROM \"Z_PRIMARYKEY\" WHERE \"Z_NAME\" = ?",
                                                        {QString::fromStdString(m_model.entity())});
    if (!entity)
        return entity.failure();
    if (!*entity)
        return Failure{ErrorCode::Corrupt, 0, "history store: no keys for " + m_model.entity()};
    return {};
}

Result<void> HistoryDatabase::prepareForWriting()
{
    // A reader is never kept waiting by a change, and a change never by a reader. A file system that cannot share
    // memory stays with the rollback journal.
    if (const Result<void> set = execute("PRAGMA journal_mode = WAL"); !set)
        return set;
    return execute("PRAGMA synchronous = FULL");
}
