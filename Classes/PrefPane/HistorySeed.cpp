#include "Classes/PrefPane/HistorySeed.h"

#include "Platform/FileSystem.h"

#include <QDateTime>
#include <QLockFile>
#include <QThread>

#include <array>

namespace {

constexpr int kLockTimeoutMs = 2000;
constexpr int kLockPauseMs = 5;
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

/// Moves what belongs to `store` to the names that belong to `aside`.
Result<void> moveCompanions(const Path &store, const Path &aside)
{
    for (const char *companion : kCompanions) {
        if (const Result<void> moved = moveIfThere(withSuffix(store, companion), withSuffix(aside, companion)); !moved)
            return moved;
    }
    return {};
}

Result<void> plant(const Path &store, const Path &seed)
{
    const Result<Bytes> content = FileSystem::current().readFile(seed, kSeedLimit);
    if (!content)
        return content.failure();
    // A journal left by an earlier store would be played back into the new one.
    const Result<Path> aside = nameForSettingAside(store);
    if (!aside)
        return aside.failure();
    if (const Result<void> moved = moveCompanions(store, *aside); !moved)
        return moved;
    const Result<void> created = FileSystem::current().createFile(store, *content, 0600);
    if (!created && created.failure().code == ErrorCode::Exists)
        return {};
    return created;
}

/// Two that come first at the same time must not take each other's fresh journal for a stray one.
Result<void> lockBeside(const Path &store, QLockFile &lock)
{
    // Never stale by age: only by the end of the process that made it.
    lock.setStaleLockTime(0);
    // Its own waiting doubles each time and so may miss every turn.
    for (int waitedMs = 0; waitedMs < kLockTimeoutMs; waitedMs += kLockPauseMs) {
        if (lock.tryLock(0))
            return {};
        if (lock.error() != QLockFile::LockFailedError)
            break;
        QThread::msleep(kLockPauseMs);
    }
    switch (lock.error()) {
    case QLockFile::LockFailedError:
        return Failure{ErrorCode::Busy, 0, "another process is making " + store.native()};
    case QLockFile::PermissionError:
        return Failure{ErrorCode::Permission, 0, "no lock file can be made beside " + store.native()};
    default:
        return Failure{ErrorCode::Io, 0, "no lock file can be made beside " + store.native()};
    }
}

QString lockName(const Path &store)
{
    return QString::fromStdString(store.native() + ".lock");
}

} // namespace

namespace HistorySeed {

Result<void> makeStore(const Path &store, const Path &seed)
{
    Result<bool> isThere = isAnythingAt(store);
    if (!isThere)
        return isThere.failure();
    if (*isThere)
        return {};
    QLockFile lock(lockName(store));
    if (const Result<void> locked = lockBeside(store, lock); !locked)
        return locked;
    isThere = isAnythingAt(store);
    if (!isThere)
        return isThere.failure();
    return *isThere ? Result<void>() : plant(store, seed);
}

Result<Path> replaceStore(const Path &store, const Path &seed)
{
    QLockFile lock(lockName(store));
    if (const Result<void> locked = lockBeside(store, lock); !locked)
        return locked.failure();
    const Result<Path> aside = nameForSettingAside(store);
    if (!aside)
        return aside.failure();
    if (const Result<void> moved = moveIfThere(store, *aside); !moved)
        return moved.failure();
    if (const Result<void> moved = moveCompanions(store, *aside); !moved)
        return moved.failure();
    if (const Result<void> planted = plant(store, seed); !planted)
        return planted.failure();
    return *aside;
}

} // namespace HistorySeed
