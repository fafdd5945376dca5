#include "Classes/PrefPane/HistorySeed.h"

#include "Classes/Shared/lockBeside.h"
#include "Platform/FileSystem.h"

#include <QDateTime>

#include <array>
#include <chrono>
#include <memory>
#include <vector>

namespace {

constexpr std::chrono::milliseconds kWaitToMake{
    80}; // on the pane's main thread, which nothing may hold for a tenth of a second
constexpr std::chrono::milliseconds kWaitToReplace{2000};
constexpr ByteCount kSeedLimit = 16 * 1024 * 1024;

/// The files that belong to an SQLite file, by what their names have more than its.
constexpr std::array<const char *, 3> kCompanions = {"-wal", "-shm", "-journal"};

Path withSuffix(const Path &path, const std::string &suffix)
{
    return Path(path.native() + suffix);
}

Result<bool> isAnythingAt(const Path &path)
{
    const Result<FileStatus> status = FileSystem::current().status(path);
    if (status)
        return true;
    if (status.failure().code == ErrorCode::NotFound)
        return false;
    return status.failure();
}

/// Whether neither `store` nor anything that would belong to it is there.
Result<bool> isFree(const Path &store)
{
    Result<bool> isTaken = isAnythingAt(store);
    for (const char *companion : kCompanions) {
        if (isTaken && !*isTaken)
            isTaken = isAnythingAt(withSuffix(store, companion));
    }
    if (!isTaken)
        return isTaken.failure();
    return !*isTaken;
}

/// A free name beside `store` with the date in it. With the companions' names built on it in the same way, the files
/// can still be opened together.
Result<Path> nameForSettingAside(const Path &store)
{
    const std::string date = QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd-HHmmss")).toStdString();
    const Path stem = store.parent_path() / (store.stem().native() + "-set-aside-" + date);
    for (int number = 1; number < 1000; ++number) {
        const std::string suffix = number == 1 ? std::string() : "-" + std::to_string(number);
        const Path name = withSuffix(stem, suffix + store.extension().native());
        const Result<bool> isUsable = isFree(name);
        if (!isUsable)
            return isUsable.failure();
        if (*isUsable)
            return name;
    }
    return Failure{ErrorCode::Exists, 0, "no free name to set aside " + store.native()};
}

Result<void> moveIfThere(const Path &from, const Path &to)
{
    const Result<void> moved = FileSystem::current().moveWithoutReplacing(from, to);
    if (!moved && moved.failure().code == ErrorCode::NotFound)
        return {};
    return moved;
}

/// What of a store lies beside it. To be asked before the store itself is looked for: what has come after it is no
/// stray, but the fresh journal of somebody who writes.
using Companions = std::vector<const char *>;
Result<Companions> companionsBeside(const Path &store)
{
    Companions found;
    for (const char *companion : kCompanions) {
        const Result<bool> isThere = isAnythingAt(withSuffix(store, companion));
        if (!isThere)
            return isThere.failure();
        if (*isThere)
            found.push_back(companion);
    }
    return found;
}

/// Moves `companions` of `store` to the names that belong to `aside`.
Result<void> moveCompanions(const Companions &companions, const Path &store, const Path &aside)
{
    for (const char *companion : companions) {
        if (const Result<void> moved = moveIfThere(withSuffix(store, companion), withSuffix(aside, companion)); !moved)
            return moved;
    }
    return {};
}

Result<void> plant(const Path &store, const Path &seed, const Companions &strays)
{
    const Result<Bytes> content = FileSystem::current().readFile(seed, kSeedLimit);
    if (!content)
        return content.failure();
    // A journal left by an earlier store would be played back into the new one.
    const Result<Path> aside = nameForSettingAside(store);
    if (!aside)
        return aside.failure();
    if (const Result<void> moved = moveCompanions(strays, store, *aside); !moved)
        return moved;
    const Result<void> created = FileSystem::current().createFile(store, *content, 0600);
    if (!created && created.failure().code == ErrorCode::Exists)
        return {};
    return created;
}

/// `busy`: why the lock could not be had, nullptr with it. Its holder may hang. Where nothing lies beside the store
/// there is nothing to set aside, neither for us nor for whoever has the lock, and the store is made in one step.
Result<void> makeIfMissing(const Path &store, const Path &seed, const Failure *busy)
{
    const Result<Companions> strays = companionsBeside(store);
    if (!strays)
        return strays.failure();
    const Result<bool> isThere = isAnythingAt(store);
    if (!isThere)
        return isThere.failure();
    if (*isThere)
        return {};
    if (busy && !strays->empty())
        return *busy;
    return plant(store, seed, *strays);
}

} // namespace

namespace HistorySeed {

Result<void> makeStore(const Path &store, const Path &seed)
{
    const Result<bool> isThere = isAnythingAt(store);
    if (!isThere)
        return isThere.failure();
    if (*isThere)
        return {};
    // Two that come first at the same time must not take each other's fresh journal for a stray one.
    const Result<std::unique_ptr<FileLock>> lock = lockBeside(store, kWaitToMake);
    if (!lock && lock.failure().code != ErrorCode::Busy)
        return lock.failure();
    return makeIfMissing(store, seed, lock ? nullptr : &lock.failure());
}

Result<Path> replaceStore(const Path &store, const Path &seed)
{
    const Result<std::unique_ptr<FileLock>> lock = lockBeside(store, kWaitToReplace);
    if (!lock)
        return lock.failure();
    const Result<Path> aside = nameForSettingAside(store);
    if (!aside)
        return aside.failure();
    const Result<Companions> companions = companionsBeside(store);
    if (!companions)
        return companions.failure();
    if (const Result<void> moved = moveIfThere(store, *aside); !moved)
        return moved.failure();
    if (const Result<void> moved = moveCompanions(*companions, store, *aside); !moved)
        return moved.failure();
    if (const Result<void> planted = plant(store, seed, {}); !planted)
        return planted.failure();
    return *aside;
}

Result<std::optional<Path>> clearCompanions(const Path &store)
{
    Companions odd;
    for (const char *companion : kCompanions) {
        const Result<FileStatus> status = FileSystem::current().status(withSuffix(store, companion), Links::Follow);
        if (status && status->type != FileType::Regular)
            odd.push_back(companion);
    }
    if (odd.empty())
        return std::optional<Path>();
    const Result<std::unique_ptr<FileLock>> lock = lockBeside(store, kWaitToReplace);
    if (!lock)
        return lock.failure();
    const Result<Path> aside = nameForSettingAside(store);
    if (!aside)
        return aside.failure();
    if (const Result<void> moved = moveCompanions(odd, store, *aside); !moved)
        return moved.failure();
    return std::optional(withSuffix(*aside, odd.front()));
}

} // namespace HistorySeed
