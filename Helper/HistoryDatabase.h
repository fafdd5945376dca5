#pragma once

#include "Classes/PrefPane/FolderRefusal.h"
#include "Classes/PrefPane/HistoryModel.h"
#include "Classes/PrefPane/HistoryRecord.h"
#include "Classes/PrefPane/SqliteConnection.h"
#include "Platform/Result.h"
#include "Platform/Types.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

using WatchedFolder = HistoryRecord;

/// The helper's side of the history store: the only writer. Each change is one transaction, and is on the disk when the
/// call answers. One thread.
class HistoryDatabase final
{
public:
    /// Where the folder of the record with this key is.
    struct Location
    {
        qint64 key = 0;
        std::string folder;
        Bytes alias;
    };

    /// Opens the store for writing. Makes it from `seed` where there is none; a store that fails its integrity check is
    /// set aside with its companions, the date in their names, and made anew. Errors: NotFound, NoSpace, Permission,
    /// Busy (another process keeps it locked; nothing was changed), Io.
    static Result<std::unique_ptr<HistoryDatabase>> open(const Path &store, const Path &seed,
                                                         const HistoryModel &model);

    /// Every record, in the order of their keys.
    Result<std::vector<WatchedFolder>> folders() const;

    /// Records the folder as watched. A record of that path is enabled again with its savings kept. Answers its key.
    Result<qint64> addFolder(const std::string &folder, ByteView alias);

    /// Takes the folders with these keys off the list; their records and savings stay. Answers whether one of them was
    /// watched.
    Result<bool> removeFolders(const std::vector<qint64> &keys);

    /// Keeps what a survey found. Nothing happens when the record is gone.
    Result<void> setProgress(qint64 key, unsigned status, ByteCount savings);

    /// Keeps which folders were not taken, in place of those before. Answers whether they are others.
    Result<bool> setRefusals(const std::vector<FolderRefusal> &refusals);

    /// Keeps where moved folders are now, so that nobody sees one at its new place and another at its former one.
    Result<void> setLocations(const std::vector<Location> &locations);

private:
    HistoryDatabase(std::unique_ptr<SqliteConnection> connection, const HistoryModel &model);

    static Result<std::unique_ptr<HistoryDatabase>> openWhole(const Path &store, const HistoryModel &model);
    static Result<std::unique_ptr<HistoryDatabase>> openChecked(const Path &store, const HistoryModel &model,
                                                                SqliteConnection::Mode mode);
    Result<void> check();
    Result<void> prepareForWriting();
    Result<void> change(const std::function<Result<void>()> &statements);
    Result<std::optional<qint64>> keyOf(const std::string &folder);
    Result<qint64> insert(const std::string &folder, ByteView alias);
    Result<void> execute(const std::string &statement, const QVariantList &values = {});
    Result<std::optional<qint64>> number(const std::string &statement, const QVariantList &values = {});
    std::string column(const char *attribute) const;

    std::unique_ptr<SqliteConnection> m_connection;
    HistoryModel m_model;
    std::string m_table; ///< quoted
};
