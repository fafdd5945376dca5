#pragma once

#include "Helper/HistoryDatabase.h"
#include "Helper/PlacedFolder.h"
#include "Helper/SurveyScheduler.h"
#include "Platform/Types.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

/// The list of watched folders, kept in the history store, which is opened when it is first needed and again after that
/// failed. Faults are logged. Main thread.
class WatchedFolders final
{
public:
    struct Files
    {
        Path store; ///< "history.db"
        Path seed;  ///< the empty store
        Path model;
    };

    explicit WatchedFolders(Files files)
        : m_files(std::move(files))
    {
    }

    /// Whether the store is open now.
    bool open();

    /// Lets the store go; the next use opens it again.
    void close() { m_database.reset(); }

    /// The records of folders that are not where they were and may bear on what is asked for. They are to be searched
    /// for first, elsewhere, since `add` and `remove` find what was found before and search for nothing.
    std::vector<Bytes> lost(const std::vector<std::string> &toAdd, const std::vector<std::string> &toRemove);

    /// Takes each folder on the list, unless the rules speak against it; those are kept as refused, in place of the
    /// refusals before. One that is on the list already, under whatever path, stays as it is; one that was taken off is
    /// enabled again with its savings. Answers whether anything changed, refusals included.
    bool add(const std::vector<std::string> &folders);

    /// Forgets what was refused. Answers whether there was anything.
    bool clearRefusals() { return open() && setRefusals({}); }

    /// Takes the folder that is at each of the paths off the list; savings stay. Where no watched folder is, the path
    /// names one that is lost and was recorded there, and where nothing is at all, one that was recorded there and has
    /// moved on. Answers whether anything changed.
    bool remove(const std::vector<std::string> &folders);

    /// The enabled records, in the order in which they were added.
    std::vector<WatchedFolder> enabled();

    /// The folders that were taken off the list and keep what they saved.
    std::vector<std::string> kept();

    void setProgress(qint64 key, unsigned status, ByteCount savings);

    /// Keeps where a moved folder is now. Another that is recorded there and has moved as well gets its own place
    /// together with it; nothing changes when a watched one that is lost, or one that is still there, is recorded
    /// there.
    void setLocation(qint64 key, const std::string &folder, const Bytes &alias);

private:
    using PlacedFolders = std::vector<PlacedFolder>;

    std::vector<WatchedFolder> all();
    PlacedFolders placed();
    bool setRefusals(const std::vector<FolderRefusal> &refusals);
    bool addOne(PlacedFolders &records, const std::string &folder);
    bool record(PlacedFolders &records, const std::string &folder, const Bytes &alias);
    bool isWatchedAfterMoves(PlacedFolders &records, const std::string &folder, const Bytes &alias);
    void relocate(PlacedFolders &records, const HistoryDatabase::Location &moved);

    Files m_files;
    std::unique_ptr<HistoryDatabase> m_database;
};
