#include "Classes/PrefPane/HistoryQuery.h"

#include <set>

namespace {

constexpr int kMostRecords = 100'000; // many times what a list can be worked with

std::string quotedColumn(const HistoryModel &model, const char *attribute)
{
    return quoted(model.column(attribute));
}

/// No alias record is longer, and a stranger's file may hold a gigabyte in its place; that counts as none.
std::string boundedAlias(const HistoryModel &model)
{
    const std::string alias = quotedColumn(model, HistoryModel::kFolderAlias);
    return "CASE WHEN length(" + alias + ") <= 65536 THEN " + alias + " END";
}

std::string restriction(const HistoryModel &model, const HistoryPredicate *predicate)
{
    if (!predicate)
        return {};
    return " WHERE " + quoted(model.column(predicate->attribute)) + " = " + (predicate->value ? "1" : "0");
}

HistoryRecord recordFrom(const QSqlQuery &query)
{
    const QByteArray alias = query.value(2).toByteArray();
    HistoryRecord record;
    record.key = query.value(0).toLongLong();
    record.folder = SqliteConnection::text(query.value(1));
    record.alias = Bytes(alias.begin(), alias.end());
    record.isEnabled = query.value(3).toLongLong() == 1;
    record.status = static_cast<std::uint32_t>(query.value(4).toLongLong());
    // An integer column has 64 bits with a sign; counts from 2^63 up look negative in it.
    record.savings = static_cast<ByteCount>(query.value(5).toLongLong());
    return record;
}

} // namespace

namespace HistoryQuery {

Result<std::vector<HistoryRecord>> records(SqliteConnection &connection, const HistoryModel &model,
                                           const HistoryPredicate *predicate)
{
    Result<QSqlQuery> query = connection.run(
        "SELECT \"Z_PK\", " + connection.textColumn(model.column(HistoryModel::kFolder)) + ", " + boundedAlias(model) +
        ", " + quotedColumn(model, HistoryModel::kEnabled) + ", " + quotedColumn(model, HistoryModel::kStatus) + ", " +
        quotedColumn(model, HistoryModel::kSavings) + " FROM " + quoted(model.table()) + restriction(model, predicate) +
        " ORDER BY \"Z_PK\" LIMIT " + std::to_string(kMostRecords));
    if (!query)
        return query.failure();
    std::vector<HistoryRecord> records;
    while (query->next())
        records.push_back(recordFrom(*query));
    if (const Result<void> ended = SqliteConnection::end(*query); !ended)
        return ended.failure();
    return records;
}

Result<ByteCount> sumOfSavings(SqliteConnection &connection, const HistoryModel &model,
                               const HistoryPredicate *predicate)
{
    // SUM stops at 2^63; the sums of the lower and the upper halves stay below it for two thousand million records.
    const std::string savings = quotedColumn(model, HistoryModel::kSavings);
    Result<QSqlQuery> query =
        connection.run("SELECT SUM(" + savings + " & 4294967295), SUM((" + savings + " >> 32) & 4294967295) FROM " +
                       quoted(model.table()) + restriction(model, predicate));
    if (!query)
        return query.failure();
    ByteCount sum = 0;
    if (query->next())
        sum = static_cast<ByteCount>(query->value(0).toLongLong()) +
              (static_cast<ByteCount>(query->value(1).toLongLong()) << 32);
    if (const Result<void> ended = SqliteConnection::end(*query); !ended)
        return ended.failure();
    return sum;
}

Result<std::vector<FolderRefusal>> refusals(SqliteConnection &connection)
{
    Result<QSqlQuery> tables = connection.run("SELECT COUNT(*) FROM sqlite_master WHERE type = 'table' AND name = ?",
                                              {QString::fromLatin1(FolderRefusal::kTable)});
    if (!tables)
        return tables.failure();
    const bool isTableThere = tables->next() && tables->value(0).toInt() > 0;
    if (const Result<void> ended = SqliteConnection::end(*tables); !ended)
        return ended.failure();
    std::vector<FolderRefusal> refusals;
    if (!isTableThere)
        return refusals;
    Result<QSqlQuery> query =
        connection.run("SELECT " + connection.textColumn(FolderRefusal::kFolder) + ", " +
                       quoted(FolderRefusal::kReason) + " FROM " + quoted(FolderRefusal::kTable) + " ORDER BY rowid");
    if (!query)
        return query.failure();
    while (query->next()) {
        if (const auto reason = FolderRefusal::reasonNamed(query->value(1).toString().toStdString()))
            refusals.push_back({SqliteConnection::text(query->value(0)), *reason});
    }
    if (const Result<void> ended = SqliteConnection::end(*query); !ended)
        return ended.failure();
    return refusals;
}

/// A view or a trigger runs what its author wrote, for as long as that takes.
static Result<void> checkTablesAlone(SqliteConnection &connection)
{
    Result<QSqlQuery> query = connection.run("SELECT COUNT(*) FROM sqlite_master WHERE type NOT IN ('table', 'index')");
    if (!query)
        return query.failure();
    const bool isMore = query->next() && query->value(0).toInt() > 0;
    if (const Result<void> ended = SqliteConnection::end(*query); !ended)
        return ended.failure();
    if (isMore)
        return Failure{ErrorCode::Corrupt, 0, "history store: more than tables in it"};
    return {};
}

Result<void> probe(SqliteConnection &connection, const HistoryModel &model)
{
    if (const Result<void> checked = checkTablesAlone(connection); !checked)
        return checked;
    Result<QSqlQuery> query =
        connection.run("SELECT name FROM pragma_table_info(?)", {QString::fromStdString(model.table())});
    if (!query)
        return query.failure();
    std::set<std::string> columns;
    while (query->next())
        columns.insert(query->value(0).toString().toUpper().toStdString());
    if (const Result<void> ended = SqliteConnection::end(*query); !ended)
        return ended.failure();
    for (const HistoryModel::Attribute &attribute : model.attributes()) {
        if (!columns.contains(model.column(attribute.name)))
            return Failure{ErrorCode::Corrupt, 0, "history store: no column " + model.column(attribute.name)};
    }
    if (!columns.contains("Z_PK"))
        return Failure{ErrorCode::Corrupt, 0, "history store: no column Z_PK"};

    Result<QSqlQuery> count = connection.run("SELECT COUNT(*) FROM " + quoted(model.table()));
    if (!count)
        return count.failure();
    count->next();
    return SqliteConnection::end(*count);
}

} // namespace HistoryQuery
