#include "Helper/WatchedFolders.h"

#include "Classes/Shared/Log.h"
#include "Classes/Shared/stringWithFileSystemRepresentation.h"
#include "Helper/FolderRules.h"
#include "Platform/AliasManager.h"
#include "Platform/FileSystem.h"

#include <algorithm>
#include <system_error>

// Any process of the user may ask for anything.
static constexpr std::size_t kLongestPath = 4096;

static qint64 keyOf(const PlacedFolder &folder)
{
    return folder.record.key;
}

/// Logs why something could not be done.
template <class T>
static bool isDone(const Result<T> &result, const std::string &what)
{
    if (!result)
        logLine(what + ": " + result.failure().context);
    return bool(result);
}

/// Whether it is on the list and where it was recorded, at that path.
static bool isUnmoved(PlacedFolder &each, const std::string &path, const std::string &place)
{
    return each.record.isEnabled && each.record.folder == path && each.isFound() && each.place() == place;
}

/// The watched folder that is meant by a path; nullptr when none is.
static PlacedFolder *watchedAt(std::vector<PlacedFolder> &records, const std::string &path)
{
    const std::string place = stringByCanonicalizingPath(path).native();
    const auto first = [&records](const auto &fits) -> PlacedFolder * {
        const auto found =
            std::ranges::find_if(records, [&](PlacedFolder &each) { return each.record.isEnabled && fits(each); });
        return found == records.end() ? nullptr : &*found;
    };
    const auto isThere = [&](PlacedFolder &each) { return each.isFound() && each.place() == place; };
    const auto wasThere = [&](PlacedFolder &each) { return each.record.folder == path; };
    const auto isLost = [&](PlacedFolder &each) { return !each.isFound() && each.place() == place; };
    // Most are where they were recorded, and then no other has to be looked for.
    if (PlacedFolder *const unmoved = first([&](PlacedFolder &each) { return isUnmoved(each, path, place); }))
        return unmoved;
    if (PlacedFolder *const moved = first(isThere))
        return moved;
    if (PlacedFolder *const lost = first(isLost))
        return lost;
    std::error_code ignored;
    return std::filesystem::exists(place, ignored) ? nullptr : first(wasThere);
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

WatchedFolders::PlacedFolders WatchedFolders::placed()
{
    const std::vector<WatchedFolder> records = all();
    return PlacedFolders(records.begin(), records.end());
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

std::vector<Bytes> WatchedFolders::lost(const std::vector<std::string> &toAdd, const std::vector<std::string> &toRemove)
{
    PlacedFolders records = toAdd.empty() && toRemove.empty() ? PlacedFolders() : placed();
    const auto isUnmovedOne = [&records](const std::string &path) {
        const std::string place = stringByCanonicalizingPath(path).native();
        return std::ranges::any_of(records, [&](PlacedFolder &each) { return isUnmoved(each, path, place); });
    };
    if (std::ranges::all_of(toAdd, isUnmovedOne) && std::ranges::all_of(toRemove, isUnmovedOne))
        return {};
    std::vector<Bytes> aliases;
    for (PlacedFolder &each : records) {
        if (!each.isFound() && !each.record.alias.empty())
            aliases.push_back(each.record.alias);
    }
    return aliases;
}

bool WatchedFolders::add(const std::vector<std::string> &folders)
{
    std::vector<std::string> taken;
    std::vector<FolderRefusal> refusals;
    const FolderRules rules(m_files.store.parent_path());
    for (const std::string &folder : folders) {
        const auto reason = rules.reasonAgainst(folder);
        if (!reason) {
            taken.push_back(stringByCanonicalizingPath(folder).native());
            continue;
        }
        logLine("Not added (" + std::string(FolderRefusal::nameOf(*reason)) + "): " + folder);
        if (refusals.size() < FolderRefusal::kMostKept && folder.size() < kLongestPath)
            refusals.push_back({folder, *reason});
    }
    if (!open())
        return false;
    bool hasChanged = false;
    PlacedFolders records = taken.empty() ? PlacedFolders() : placed();
    for (const std::string &folder : taken)
        hasChanged |= addOne(records, folder);
    return setRefusals(refusals) || hasChanged;
}

bool WatchedFolders::setRefusals(const std::vector<FolderRefusal> &refusals)
{
    const auto changed = m_database->setRefusals(refusals);
    return isDone(changed, "Refusals were not recorded") && *changed;
}

bool WatchedFolders::addOne(PlacedFolders &records, const std::string &folder)
{
    // Most of what is added twice is where it was, and then no other has to be looked for.
    const auto isAsRecorded = [&](PlacedFolder &each) { return isUnmoved(each, folder, folder); };
    bool isWatched = std::ranges::any_of(records, isAsRecorded);
    if (!isWatched) {
        const auto alias = AliasManager::current().newAlias(folder);
        if (!isDone(alias, "Not added"))
            return false;
        isWatched = isWatchedAfterMoves(records, folder, *alias);
        if (!isWatched)
            return record(records, folder, *alias);
    }
    logLine("Watched already: " + folder);
    return false;
}

/// Records what has moved to that place or away from it, and answers whether what is there now is watched.
bool WatchedFolders::isWatchedAfterMoves(PlacedFolders &records, const std::string &folder, const Bytes &alias)
{
    bool isWatched = false;
    for (PlacedFolder &each : records) {
        if (each.place() == folder) {
            isWatched |= each.record.isEnabled;
            if (!each.isFound() || each.record.folder != folder)
                relocate(records, {each.record.key, folder, alias});
        } else if (each.record.folder == folder) { // or the newcomer would get its record
            const auto moved = AliasManager::current().newAlias(each.place());
            if (isDone(moved, "A moved folder was not recorded"))
                relocate(records, {each.record.key, each.place(), *moved});
        }
    }
    return isWatched;
}

bool WatchedFolders::record(PlacedFolders &records, const std::string &folder, const Bytes &alias)
{
    const auto key = m_database->addFolder(folder, alias);
    if (!isDone(key, "Not added: " + folder))
        return false;
    logLine("Watching " + folder);
    const auto former = std::ranges::find(records, *key, keyOf);
    if (former == records.end())
        records.emplace_back(WatchedFolder{*key, folder, alias, true, 0, 0});
    else
        former->record.isEnabled = true;
    return true;
}

bool WatchedFolders::remove(const std::vector<std::string> &folders)
{
    std::vector<qint64> keys;
    std::vector<std::string> names;
    PlacedFolders records = folders.empty() ? PlacedFolders() : placed();
    for (const std::string &folder : folders) {
        if (PlacedFolder *const found = watchedAt(records, folder)) {
            found->record.isEnabled = false;
            keys.push_back(found->record.key);
            names.push_back(found->record.folder);
        } else {
            logLine("Not removed, not watched: " + folder);
        }
    }
    if (keys.empty())
        return false;
    const auto removed = m_database->removeFolders(keys);
    if (!isDone(removed, "Folders were not removed"))
        return false;
    for (const std::string &name : names)
        logLine("No longer watching " + name);
    return *removed;
}

void WatchedFolders::setProgress(qint64 key, unsigned status, ByteCount savings)
{
    if (open())
        isDone(m_database->setProgress(key, status, savings), "Savings were not recorded");
}

void WatchedFolders::setLocation(qint64 key, const std::string &folder, const Bytes &alias)
{
    PlacedFolders records = placed();
    const auto moved = std::ranges::find(records, key, keyOf);
    if (moved != records.end() && moved->record.folder != folder) // or another's move has taken it along
        relocate(records, {key, folder, alias});
}

void WatchedFolders::relocate(PlacedFolders &records, const HistoryDatabase::Location &moved)
{
    std::vector<HistoryDatabase::Location> moves{moved};
    const auto isGoal = [&moves](const std::string &place) {
        return std::ranges::count(moves, place, &HistoryDatabase::Location::folder) > 0;
    };
    const auto isInTheWay = [&](PlacedFolder &each) {
        return isGoal(each.record.folder) &&
               std::ranges::count(moves, each.record.key, &HistoryDatabase::Location::key) == 0 &&
               (each.record.isEnabled || each.isFound());
    };
    for (auto other = records.begin(); (other = std::ranges::find_if(records, isInTheWay)) != records.end();) {
        if (!other->isFound() || isGoal(other->place()))
            return;
        const auto alias = AliasManager::current().newAlias(other->place());
        if (!isDone(alias, "A moved folder was not recorded"))
            return;
        moves.push_back({other->record.key, other->place(), *alias});
    }
    if (!isDone(m_database->setLocations(moves), "The place of a folder was not recorded"))
        return;
    for (const HistoryDatabase::Location &location : moves) {
        std::ranges::find(records, location.key, keyOf)->recordAt(location);
        logLine("A watched folder is now " + location.folder);
    }
}
