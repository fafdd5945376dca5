#include "Helper/WatchedFolders.h"

#include "Classes/Shared/Log.h"
#include "Helper/FolderRules.h"
#include "Platform/AliasManager.h"
#include "Platform/FileSystem.h"

#include <algorithm>
#include <system_error>

// Any process of the user may ask for anything.
static constexpr std::size_t kMostRefusals = 100;
static constexpr std::size_t kLongestPath = 4096;

/// Logs why something could not be done.
template <class T>
static bool isDone(const Result<T> &result, const std::string &what)
{
    if (!result)
        logLine(what + ": " + result.failure().context);
    return bool(result);
}

static Path realPath(const Path &path)
{
    std::error_code failure;
    const Path resolved = std::filesystem::canonical(path, failure);
    return failure ? path : resolved;
}

/// Where the alias leads, when that is a folder.
static std::optional<Path> placeByAlias(const WatchedFolder &record)
{
    std::error_code ignored;
    const auto found = AliasManager::current().resolve(record.alias);
    if (!found || !std::filesystem::is_directory(found->path, ignored))
        return std::nullopt;
    return realPath(found->path);
}

/// Where the recorded folder is now; its recorded path when it is nowhere.
static Path placeOf(const WatchedFolder &record)
{
    return placeByAlias(record).value_or(realPath(record.folder));
}

bool WatchedFolders::open()
{
    if (m_database)
        return true;
    const Result<HistoryModel> model = HistoryModel::read(m_files.model);
    if (!isDone(model, "The data model cannot be read"))
        return false;
    auto opened = HistoryDatabase::open(m_files.store, m_files.seed, *model);
    if (isDone(opened, "The history cannot be opened"))
        m_database = *std::move(opened);
    return bool(m_database);
}

std::vector<WatchedFolder> WatchedFolders::all()
{
    if (!open())
        return {};
    auto records = m_database->folders();
    return isDone(records, "The history cannot be read") ? *std::move(records) : std::vector<WatchedFolder>();
}

std::vector<WatchedFolder> WatchedFolders::enabled()
{
    std::vector<WatchedFolder> records = all();
    std::erase_if(records, [](const WatchedFolder &record) { return !record.isEnabled; });
    return records;
}

std::vector<std::string> WatchedFolders::kept()
{
    std::vector<std::string> folders;
    for (const WatchedFolder &record : all()) {
        if (!record.isEnabled && record.savings > 0)
            folders.push_back(record.folder);
    }
    return folders;
}

bool WatchedFolders::add(const std::vector<std::string> &folders)
{
    bool hasChanged = false;
    std::vector<FolderRefusal> refusals;
    const FolderRules rules(m_files.store.parent_path());
    for (const std::string &folder : folders) {
        if (const auto reason = rules.reasonAgainst(folder)) {
            logLine("Not added (" + std::string(FolderRefusal::nameOf(*reason)) + "): " + folder);
            if (refusals.size() < kMostRefusals && folder.size() < kLongestPath)
                refusals.push_back({folder, *reason});
        } else if (open()) {
            hasChanged |= addOne(realPath(folder));
        }
    }
    const bool isTold = open() && setRefusals(refusals);
    return hasChanged || isTold;
}

bool WatchedFolders::setRefusals(const std::vector<FolderRefusal> &refusals)
{
    const auto changed = m_database->setRefusals(refusals);
    return isDone(changed, "Refusals were not recorded") && *changed;
}

bool WatchedFolders::addOne(const Path &folder)
{
    const auto alias = AliasManager::current().newAlias(folder);
    if (!isDone(alias, "Not added"))
        return false;
    bool isWatched = false;
    for (const WatchedFolder &record : all()) {
        const std::optional<Path> byAlias = placeByAlias(record);
        const Path place = byAlias.value_or(realPath(record.folder));
        if (place == folder) {
            isWatched |= record.isEnabled;
            if (!byAlias || record.folder != folder.native())
                setLocation(record.key, folder.native(), *alias);
        } else if (record.folder == folder.native()) {
            keepMoved(record, place); // or the newcomer would get its record
        }
    }
    if (isWatched) {
        logLine("Watched already: " + folder.native());
        return false;
    }
    const auto key = m_database->addFolder(folder.native(), *alias);
    if (isDone(key, "Not added: " + folder.native()))
        logLine("Watching " + folder.native());
    return bool(key);
}

void WatchedFolders::keepMoved(const WatchedFolder &record, const Path &place)
{
    if (const auto alias = AliasManager::current().newAlias(place); isDone(alias, "A moved folder was not recorded"))
        setLocation(record.key, place.native(), *alias);
}

bool WatchedFolders::remove(const std::vector<std::string> &folders)
{
    bool hasChanged = false;
    for (const std::string &folder : folders)
        hasChanged |= removeOne(folder);
    return hasChanged;
}

bool WatchedFolders::removeOne(const std::string &folder)
{
    const std::vector<WatchedFolder> records = enabled();
    auto found = std::find_if(records.begin(), records.end(),
                              [&](const WatchedFolder &record) { return record.folder == folder; });
    if (found == records.end())
        found = std::find_if(records.begin(), records.end(), [place = realPath(folder)](const WatchedFolder &record) {
            return placeOf(record) == place;
        });
    if (found == records.end()) {
        logLine("Not removed, not watched: " + folder);
        return false;
    }
    const auto removed = m_database->removeFolder(found->folder);
    if (isDone(removed, "Not removed: " + folder))
        logLine("No longer watching " + found->folder);
    return removed.valueOr(false);
}

void WatchedFolders::setProgress(qint64 key, unsigned status, ByteCount savings)
{
    if (open())
        isDone(m_database->setProgress(key, status, savings), "Savings were not recorded");
}

void WatchedFolders::setLocation(qint64 key, const std::string &folder, const Bytes &alias)
{
    const std::vector<WatchedFolder> records = all();
    const bool isTaken = std::any_of(records.begin(), records.end(), [&](const WatchedFolder &record) {
        return record.key != key && record.folder == folder;
    });
    if (!open() || isTaken)
        return;
    if (isDone(m_database->setLocation(key, folder, alias), "The place of a folder was not recorded"))
        logLine("A watched folder is now " + folder);
}
