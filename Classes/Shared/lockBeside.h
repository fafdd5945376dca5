#pragma once

#include "Platform/FileLock.h"
#include "Platform/Result.h"
#include "Platform/Types.h"

#include <chrono>
#include <memory>

/// Locks "FILE.lock", made when missing, against every other process that asks the same, and waits for it no longer
/// than `longestWait`: for files that are replaced when they change, and so can bear no lock themselves. The lock file
/// stays when the lock is let go: to remove it would take it from under whoever has it open already. Errors: those of
/// `ThisProcess::lockFile`; Busy once the time is over. Any thread.
Result<std::unique_ptr<FileLock>> lockBeside(const Path &file, std::chrono::milliseconds longestWait);
