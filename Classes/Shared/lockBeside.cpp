#include "Classes/Shared/lockBeside.h"

#include "Platform/ThisProcess.h"

#include <thread>

static constexpr std::chrono::milliseconds kPause{5};

Result<std::unique_ptr<FileLock>> lockBeside(const Path &file, std::chrono::milliseconds longestWait)
{
    const Path place(file.native() + ".lock");
    const auto end = std::chrono::steady_clock::now() + longestWait;
    for (;;) {
        Result<std::unique_ptr<FileLock>> lock = ThisProcess::current().lockFile(place);
        if (lock || lock.failure().code != ErrorCode::Busy || std::chrono::steady_clock::now() >= end)
            return lock;
        std::this_thread::sleep_for(kPause);
    }
}
