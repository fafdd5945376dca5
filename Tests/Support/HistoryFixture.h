#pragma once

#include "Classes/PrefPane/HistoryModel.h"
#include "Helper/HistoryDatabase.h"
#include "Platform/Types.h"

#include <memory>
#include <stdexcept>

/// The model and the seed that the build has put into the pane's bundle.
namespace HistoryFixture {

inline Path modelFile()
{
    return Path(TAMSEL_PANE_RESOURCES) / "History.model.plist";
}

inline Path seed()
{
    return Path(TAMSEL_PANE_RESOURCES) / "history.db";
}

inline HistoryModel model()
{
    Result<HistoryModel> model = HistoryModel::read(modelFile());
    if (!model)
        throw std::runtime_error(model.failure().context);
    return *model;
}

/// The store opened as the helper does it.
inline std::unique_ptr<HistoryDatabase> openDatabase(const Path &store)
{
    Result<std::unique_ptr<HistoryDatabase>> database = HistoryDatabase::open(store, seed(), model());
    if (!database)
        throw std::runtime_error(database.failure().context);
    return *std::move(database);
}

/// Takes the watched folder that is recorded at that path off the list; answers whether there was one.
inline bool removeFolder(HistoryDatabase &database, const std::string &folder)
{
    const auto records = database.folders();
    if (!records)
        return false;
    for (const WatchedFolder &record : *records) {
        if (record.isEnabled && record.folder == folder)
            return database.removeFolders({record.key}).valueOr(false);
    }
    return false;
}

} // namespace HistoryFixture
