#pragma once

#include "Platform/Result.h"
#include "Platform/Types.h"

#include <QSqlDatabase>
#include <QSqlQuery>
#include <QVariantList>

#include <memory>
#include <string>

/// One connection to an SQLite file, closed with it. Texts go in and come out as the bytes that they are, UTF-8 or not.
/// One thread.
class SqliteConnection final
{
public:
    enum class Mode { ReadOnly, ReadWrite };

    /// The file must exist. Little is read here: most faults show at the first statement. Errors: Permission, Corrupt,
    /// Busy, Io (for a missing file too).
    static Result<std::unique_ptr<SqliteConnection>> open(const Path &file, Mode mode, int busyTimeoutMs);
    ~SqliteConnection();
    SqliteConnection(const SqliteConnection &) = delete;
    SqliteConnection &operator=(const SqliteConnection &) = delete;

    /// Runs one statement with `values` for its question marks and answers it with its rows, which are read forward
    /// only. Ask `end` after the last one. Errors: NoSpace, Permission, Corrupt, Busy, Io.
    Result<QSqlQuery> run(const std::string &statement, const QVariantList &values = {});

    /// Tells a query that ran out of rows from one that broke off. Ends the query.
    static Result<void> end(QSqlQuery &query);

    /// How a text column is selected, how a text is bound (to `kText`) and how it is read.
    std::string textColumn(const std::string &column) const;
    QVariant textValue(const std::string &text) const;
    static std::string text(const QVariant &value);
    static constexpr const char *kText = "CAST(? AS TEXT)";

    int rowsAffected() const { return m_rowsAffected; }

private:
    explicit SqliteConnection(QSqlDatabase database);

    QSqlDatabase m_database;
    bool m_isUtf8 = true;
    int m_rowsAffected = 0;
};

/// "NAME", as SQL has it for a table or a column.
std::string quoted(const std::string &name);
