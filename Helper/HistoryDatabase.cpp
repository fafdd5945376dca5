#include "Helper/HistoryDatabase.h"

#include "Classes/PrefPane/HistoryQuery.h"

static QByteArray blob(ByteView bytes)
{
    return QByteArray(reinterpret_cast<const char *>(bytes.data()), static_cast<qsizetype>(bytes.size()));
}

Result<std::vector<WatchedFolder>> HistoryDatabase::folders() const
{
    return HistoryQuery::records(*m_connection, m_model);
}

Result<qint64> HistoryDatabase::addFolder(const std::string &folder, ByteView alias)
{
    qint64 key = 0;
    const Result<void> changed = change([&]() -> Result<void> {
        const Result<std::optional<qint64>> known = keyOf(folder);
        if (!known)
            return known.failure();
        if (!*known) {
            const Result<qint64> inserted = insert(folder, alias);
            if (!inserted)
                return inserted.failure();
            key = *inserted;
            return {};
        }
        key = **known;
        return execute("UPDATE " + m_table + " SET " + column(HistoryModel::kEnabled) + " = 1, " +
                           column(HistoryModel::kFolderAlias) + " = ?, \"Z_OPT\" = \"Z_OPT\" + 1 WHERE \"Z_PK\" = ?",
                       {blob(alias), key});
    });
    if (!changed)
        return changed.failure();
    return key;
}

Result<bool> HistoryDatabase::removeFolders(const std::vector<qint64> &keys)
{
    bool wasWatched = false;
    const std::string enabled = column(HistoryModel::kEnabled);
    const Result<void> changed = change([&] {
        Result<void> removed;
        for (const qint64 key : keys) {
            if (removed)
                removed = execute("UPDATE " + m_table + " SET " + enabled +
                                      " = 0, \"Z_OPT\" = \"Z_OPT\" + 1 WHERE \"Z_PK\" = ? AND " + enabled + " = 1",
                                  {key});
            wasWatched |= m_connection->rowsAffected() > 0;
        }
        return removed;
    });
    if (!changed)
        return changed.failure();
    return wasWatched;
}

Result<void> HistoryDatabase::setProgress(qint64 key, unsigned status, ByteCount savings)
{
    return change([&] {
        const std::string statusColumn = column(HistoryModel::kStatus);
        const std::string savingsColumn = column(HistoryModel::kSavings);
        const auto stored = static_cast<qint64>(savings);
        return execute("UPDATE " + m_table + " SET " + statusColumn + " = ?, " + savingsColumn +
                           " = ?, \"Z_OPT\" = \"Z_OPT\" + 1 WHERE \"Z_PK\" = ? AND (" + statusColumn + " IS NOT ? OR " +
                           savingsColumn + " IS NOT ?)",
                       {status, stored, key, status, stored});
    });
}

Result<bool> HistoryDatabase::setRefusals(const std::vector<FolderRefusal> &refusals)
{
    const Result<std::vector<FolderRefusal>> before = HistoryQuery::refusals(*m_connection);
    if (!before)
        return before.failure();
    if (*before == refusals)
        return false;
    const std::string table = quoted(FolderRefusal::kTable);
    const std::string columns = quoted(FolderRefusal::kFolder) + " TEXT, " + quoted(FolderRefusal::kReason) + " TEXT";
    const Result<void> changed = change([&] {
        Result<void> done = execute("CREATE TABLE IF NOT EXISTS " + table + " (" + columns + ")");
        if (done)
            done = execute("DELETE FROM " + table);
        for (const FolderRefusal &refusal : refusals) {
            if (done)
                done = execute("INSERT INTO " + table + " VALUES (" + SqliteConnection::kText + ", ?)",
                               {m_connection->textValue(refusal.folder),
                                QString::fromLatin1(FolderRefusal::nameOf(refusal.reason))});
        }
        return done;
    });
    if (!changed)
        return changed.failure();
    return true;
}

Result<void> HistoryDatabase::setLocations(const std::vector<Location> &locations)
{
    return change([&] {
        Result<void> done;
        for (const Location &location : locations) {
            if (done)
                done = execute("UPDATE " + m_table + " SET " + column(HistoryModel::kFolder) + " = " +
                                   SqliteConnection::kText + ", " + column(HistoryModel::kFolderAlias) +
                                   " = ?, \"Z_OPT\" = \"Z_OPT\" + 1 WHERE \"Z_PK\" = ?",
                               {m_connection->textValue(location.folder), blob(location.alias), location.key});
        }
        return done;
    });
}

Result<void> HistoryDatabase::change(const std::function<Result<void>()> &statements)
{
    if (const Result<void> begun = execute("BEGIN IMMEDIATE"); !begun)
        return begun;
    Result<void> done = statements();
    if (done)
        done = execute("COMMIT");
    // Where SQLite has rolled back by itself already, this answers an error that says only so.
    if (!done)
        static_cast<void>(execute("ROLLBACK"));
    return done;
}

/// The record of that path; a watched one before a removed one.
Result<std::optional<qint64>> HistoryDatabase::keyOf(const std::string &folder)
{
    return number("SELECT \"Z_PK\" FROM " + m_table + " WHERE " + column(HistoryModel::kFolder) + " = " +
                      SqliteConnection::kText + " ORDER BY " + column(HistoryModel::kEnabled) +
                      " DESC, \"Z_PK\" LIMIT 1",
                  {m_connection->textValue(folder)});
}

Result<qint64> HistoryDatabase::insert(const std::string &folder, ByteView alias)
{
    // A key is never given out twice, not even when the record with the highest one is gone.
    const QString entity = QString::fromStdString(m_model.entity());
    const Result<void> counted = execute(
        "UPDATE \"Z_PRIMARYKEY\" SET \"Z_MAX\" = 1 + MAX(IFNULL(\"Z_MAX\", 0), IFNULL((SELECT MAX(\"Z_PK\") FROM " +
            m_table + "), 0)) WHERE \"Z_NAME\" = ?",
        {entity});
    if (!counted)
        return counted.failure();
    const Result<void> inserted = execute(
        "INSERT INTO " + m_table + " (\"Z_PK\", \"Z_ENT\", \"Z_OPT\", " + column(HistoryModel::kEnabled) + ", " +
            column(HistoryModel::kStatus) + ", " + column(HistoryModel::kSavings) + ", " +
            column(HistoryModel::kFolder) + ", " + column(HistoryModel::kFolderAlias) +
            ") SELECT \"Z_MAX\", \"Z_ENT\", 1, 1, 0, 0, CAST(? AS TEXT), ? FROM \"Z_PRIMARYKEY\" WHERE \"Z_NAME\" = ?",
        {m_connection->textValue(folder), blob(alias), entity});
    if (!inserted)
        return inserted.failure();
    const Result<std::optional<qint64>> key =
        number("SELECT \"Z_MAX\" FROM \"Z_PRIMARYKEY\" WHERE \"Z_NAME\" = ?", {entity});
    if (!key)
        return key.failure();
    return key->value_or(0);
}

Result<void> HistoryDatabase::execute(const std::string &statement, const QVariantList &values)
{
    Result<QSqlQuery> query = m_connection->run(statement, values);
    if (!query)
        return query.failure();
    return SqliteConnection::end(*query);
}

/// The first column of the first row; nothing without a row.
Result<std::optional<qint64>> HistoryDatabase::number(const std::string &statement, const QVariantList &values)
{
    Result<QSqlQuery> query = m_connection->run(statement, values);
    if (!query)
        return query.failure();
    std::optional<qint64> value;
    if (query->next())
        value = query->value(0).toLongLong();
    if (const Result<void> ended = SqliteConnection::end(*query); !ended)
        return ended.failure();
    return value;
}

std::string HistoryDatabase::column(const char *attribute) const
{
    return quoted(m_model.column(attribute));
}
