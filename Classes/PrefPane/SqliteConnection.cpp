#include "Classes/PrefPane/SqliteConnection.h"

#include "Platform/FileSystem.h"

#include <QSqlError>

#include <atomic>

namespace {

// Primary result codes of SQLite (sqlite.org/rescode.html); the extended ones carry them in their low byte.
ErrorCode codeOf(int result)
{
    switch (result & 0xff) {
    case 3:  // PERM
    case 8:  // READONLY
    case 23: // AUTH
        return ErrorCode::Permission;
    case 5: // BUSY
    case 6: // LOCKED
        return ErrorCode::Busy;
    case 11: // CORRUPT
    case 26: // NOTADB
        return ErrorCode::Corrupt;
    case 13: // FULL
        return ErrorCode::NoSpace;
    case 18: // TOOBIG
        return ErrorCode::TooLarge;
    default:
        return ErrorCode::Io;
    }
}

Failure failureOf(const QSqlError &error, const std::string &statement)
{
    const int result = error.nativeErrorCode().toInt();
    return {codeOf(result), 0,
            statement + ": " + error.databaseText().toStdString() + " (" + std::to_string(result) + ")"};
}

/// A URI keeps a path that is not UTF-8 whole, and opens a file without making a missing one. Without the two slashes
/// of an empty host a path that begins with two of its own would name one.
QString uriOf(const Path &file, SqliteConnection::Mode mode)
{
    const QByteArray path = QByteArray::fromStdString(file.native()).toPercentEncoding("/");
    return QStringLiteral("file:") + QLatin1String(path.startsWith('/') ? "//" : "") + QString::fromLatin1(path) +
           (mode == SqliteConnection::Mode::ReadOnly ? QStringLiteral("?mode=ro") : QStringLiteral("?mode=rw"));
}

QString nextName()
{
    static std::atomic<unsigned> s_last = 0;
    return QStringLiteral("history-%1").arg(++s_last);
}

QSqlDatabase newDatabase(const Path &file, SqliteConnection::Mode mode, int busyTimeoutMs)
{
    QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), nextName());
    database.setDatabaseName(uriOf(file, mode));
    database.setConnectOptions(QStringLiteral("QSQLITE_OPEN_URI;QSQLITE_BUSY_TIMEOUT=%1").arg(busyTimeoutMs));
    return database;
}

/// SQLite opens whatever lies there and waits: for ever, where it is a pipe.
Result<void> checkPlaces(const Path &file)
{
    for (const char *const suffix : {"", "-journal", "-wal", "-shm"}) {
        const Path place = file.native() + suffix;
        const Result<FileStatus> status = FileSystem::current().status(place, Links::Follow);
        if (status && status->type == FileType::Other)
            return Failure{ErrorCode::Corrupt, 0, "no file: " + place.native()};
    }
    return {};
}

} // namespace

Result<std::unique_ptr<SqliteConnection>> SqliteConnection::open(const Path &file, Mode mode, int busyTimeoutMs)
{
    if (const Result<void> checked = checkPlaces(file); !checked)
        return checked.failure();
    std::unique_ptr<SqliteConnection> connection(new SqliteConnection(newDatabase(file, mode, busyTimeoutMs)));
    if (!connection->m_database.open())
        return failureOf(connection->m_database.lastError(), "open " + file.native());

    Result<QSqlQuery> encoding = connection->run("PRAGMA encoding");
    if (!encoding)
        return encoding.failure();
    connection->m_isUtf8 = !encoding->next() || encoding->value(0).toString() == QLatin1String("UTF-8");
    if (const Result<void> ended = end(*encoding); !ended)
        return ended.failure();
    return connection;
}

SqliteConnection::SqliteConnection(QSqlDatabase database)
    : m_database(std::move(database))
{
}

SqliteConnection::~SqliteConnection()
{
    const QString name = m_database.connectionName();
    m_database.close();
    m_database = QSqlDatabase();
    QSqlDatabase::removeDatabase(name);
}

Result<QSqlQuery> SqliteConnection::run(const std::string &statement, const QVariantList &values)
{
    QSqlQuery query(m_database);
    query.setForwardOnly(true);
    bool isDone = query.prepare(QString::fromStdString(statement));
    for (const QVariant &value : values)
        query.addBindValue(value);
    isDone = isDone && query.exec();
    if (!isDone)
        return failureOf(query.lastError(), statement);
    m_rowsAffected = query.numRowsAffected();
    return query;
}

Result<void> SqliteConnection::end(QSqlQuery &query)
{
    const QSqlError error = query.lastError();
    const std::string statement = query.lastQuery().toStdString();
    query.finish();
    if (error.isValid())
        return failureOf(error, statement);
    return {};
}

// A path need not be UTF-8. Taken as bytes on both ways it survives; only a store in UTF-16, which is not of our
// making, has to be converted.
std::string SqliteConnection::textColumn(const std::string &column) const
{
    return m_isUtf8 ? "CAST(" + quoted(column) + " AS BLOB)" : quoted(column);
}

QVariant SqliteConnection::textValue(const std::string &text) const
{
    return m_isUtf8 ? QVariant(QByteArray::fromStdString(text)) : QVariant(QString::fromStdString(text));
}

std::string SqliteConnection::text(const QVariant &value)
{
    return value.toByteArray().toStdString();
}

std::string quoted(const std::string &name)
{
    std::string text = "\"";
    for (const char c : name)
        text += c == '"' ? std::string("\"\"") : std::string(1, c);
    return text + '"';
}
