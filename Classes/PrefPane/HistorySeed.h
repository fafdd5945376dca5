#pragma once

#include "Platform/Result.h"
#include "Platform/Types.h"

#include <optional>

/// Puts an empty history store where there is none. Pane and helper may both come first: a lock file beside the store,
/// which stays there, lets one of them do it; who cannot have it in a moment goes on without, where nothing has to
/// be set aside. No file is ever overwritten or removed. Any thread.
namespace HistorySeed {

constexpr const char *kResourceName = "history";
constexpr const char *kResourceType = "db";

/// Makes `store` from a copy of `seed` unless there is one; first, what an earlier store left beside it ("-wal",
/// "-shm", "-journal") is set aside. On failure there is no store, or the whole one. Errors: NotFound, NoSpace,
/// Permission, NotSupported (something that is no file of this user has the lock's name), Busy (another process has the
/// lock), Io.
Result<void> makeStore(const Path &store, const Path &seed);

/// Sets the damaged `store` aside with what belongs to it, the date in the names, and makes a new one. It must not be
/// open in this process. Answers the path that the damaged store has now. Errors: as above.
Result<Path> replaceStore(const Path &store, const Path &seed);

/// Sets aside what lies in the place of the store's "-wal", "-shm" or "-journal" and is no file. It holds nothing of
/// the store, and would keep it from being opened for ever. Answers the path that one of them has now, nothing when
/// there was none. Errors: as above.
Result<std::optional<Path>> clearCompanions(const Path &store);

} // namespace HistorySeed
