// MakeHistorySeed MODEL OUTPUT: makes the empty history store that the bundles carry, from the data model. Run by the
// build.
#include "Classes/PrefPane/HistoryModel.h"
#include "Classes/PrefPane/SqliteConnection.h"
#include "Platform/Services.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QFile>
#include <QUuid>

#include <cstdio>

static std::string columnType(HistoryModel::Type type)
{
    switch (type) {
    case HistoryModel::Type::String:
        return "VARCHAR";
    case HistoryModel::Type::Binary:
        return "BLOB";
    default:
        return "INTEGER";
    }
}

static std::string tableStatement(const HistoryModel &model)
{
    std::string statement = "CREATE TABLE " + quoted(model.table()) +
                            " (\"Z_PK\" INTEGER PRIMARY KEY, \"Z_ENT\" INTEGER, \"Z_OPT\" INTEGER";
    for (const HistoryModel::Attribute &attribute : model.attributes())
        statement += ", " + quoted(model.column(attribute.name)) + " " + columnType(attribute.type);
    return statement + ")";
}

/// Changes with the model and with nothing else.
static QByteArray versionHash(const HistoryModel &model)
{
    QCryptographicHash hash(QCryptographicHash::Sha256);
    hash.addData(QByteArray::fromStdString(tableStatement(model)));
    return hash.result();
}

static PropertyList metadata(const HistoryModel &model)
{
    const QByteArray hash = versionHash(model);
    PropertyList hashes;
    hashes.set(model.entity(), Bytes(hash.begin(), hash.end()));
    PropertyList list;
    list.set("NSStoreModelVersionHashes", std::move(hashes));
    list.set("NSStoreModelVersionHashesVersion", 3);
    list.set("NSStoreModelVersionIdentifiers", PropertyList::Array());
    list.set("NSStoreType", "SQLite");
    return list;
}

static Result<void> fill(SqliteConnection &store, const HistoryModel &model)
{
    const Result<Bytes> plist = metadata(model).toBinary();
    if (!plist)
        return plist.failure();
    const QByteArray plistBlob(reinterpret_cast<const char *>(plist->data()), static_cast<qsizetype>(plist->size()));
    const QString uuid = QUuid::createUuidV5(QUuid(), versionHash(model)).toString(QUuid::WithoutBraces).toUpper();
    const QVariantList none;
    const std::vector<std::pair<std::string, QVariantList>> statements = {
        {tableStatement(model), none},
        {"CREATE TABLE \"Z_PRIMARYKEY\" (\"Z_ENT\" INTEGER PRIMARY KEY, \"Z_NAME\" VARCHAR, \"Z_SUPER\" INTEGER, "
         "\"Z_MAX\" INTEGER)",
         none},
        {"CREATE TABLE \"Z_METADATA\" (\"Z_VERSION\" INTEGER PRIMARY KEY, \"Z_UUID\" VARCHAR(255), \"Z_PLIST\" BLOB)",
         none},
        {"INSERT INTO \"Z_PRIMARYKEY\" VALUES (1, ?, 0, 0)", {QString::fromStdString(model.entity())}},
        {"INSERT INTO \"Z_METADATA\" VALUES (1, ?, ?)", {uuid, plistBlob}},
    };
    for (const auto &[statement, values] : statements) {
        const Result<QSqlQuery> query = store.run(statement, values);
        if (!query)
            return query.failure();
    }
    return {};
}

static Result<void> makeSeed(const Path &modelFile, const QString &output)
{
    const Result<HistoryModel> model = HistoryModel::read(modelFile);
    if (!model)
        return model.failure();
    QFile::remove(output);
    QFile file(output);
    if (!file.open(QIODevice::WriteOnly))
        return Failure{ErrorCode::Io, 0, output.toStdString() + ": " + file.errorString().toStdString()};
    file.close();
    const Result<std::unique_ptr<SqliteConnection>> store =
        SqliteConnection::open(output.toStdString(), SqliteConnection::Mode::ReadWrite, 0);
    if (!store)
        return store.failure();
    return fill(**store, *model);
}

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    installEngineServices();
    if (argc != 3) {
        std::fputs("usage: MakeHistorySeed MODEL OUTPUT\n", stderr);
        return 2;
    }
    const Result<void> made = makeSeed(argv[1], QFile::decodeName(argv[2]));
    if (!made) {
        std::fprintf(stderr, "MakeHistorySeed: %s\n", made.failure().context.c_str());
        QFile::remove(QFile::decodeName(argv[2]));
        return 1;
    }
    return 0;
}
