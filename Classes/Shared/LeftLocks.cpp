#include "Classes/Shared/LeftLocks.h"

#include <deque>

static constexpr std::size_t kMost = 256;

static thread_local std::deque<std::unique_ptr<FileLock>> s_locks;

void LeftLocks::keep(std::unique_ptr<FileLock> lock)
{
    if (!lock)
        return;
    s_locks.push_back(std::move(lock));
    if (s_locks.size() > kMost)
        s_locks.pop_front();
}

void LeftLocks::release()
{
    s_locks.clear();
}

std::size_t LeftLocks::count()
{
    return s_locks.size();
}
