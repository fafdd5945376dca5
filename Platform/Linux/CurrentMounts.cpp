#include "Platform/Linux/CurrentMounts.h"

#include "Platform/Linux/Descriptor.h"

#include <fcntl.h>
#include <mutex>
#include <poll.h>
#include <sys/stat.h>

namespace {

/// The last table, and what tells that it is still true.
struct Known
{
    Descriptor watched; ///< the kernel's list; it becomes ready once with each change
    pid_t process = 0;  ///< whose it is; one that was forked takes the news from the other
    ino_t mountNamespace = 0;
    std::shared_ptr<const MountTable> table;
};

} // namespace

static ino_t mountNamespace()
{
    struct stat status = {};
    return ::stat("/proc/self/ns/mnt", &status) == 0 ? status.st_ino : 0;
}

static bool isUnchanged(const Known &known)
{
    pollfd change = {known.watched.get(), POLLPRI, 0};
    return known.table && known.process == ::getpid() && known.mountNamespace == mountNamespace() &&
           ::poll(&change, 1, 0) == 0;
}

Result<std::shared_ptr<const MountTable>> currentMounts()
{
    static std::mutex mutex;
    static auto *const known = new Known; // for whoever asks while the process ends
    const std::lock_guard lock(mutex);
    if (isUnchanged(*known))
        return known->table;
    known->table = nullptr;
    known->process = ::getpid();
    known->mountNamespace = mountNamespace();
    known->watched = Descriptor(::open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC)); // before it is read
    Result<MountTable> table = MountTable::read();
    if (!table)
        return table.failure();
    auto shared = std::make_shared<const MountTable>(std::move(*table));
    if (known->watched)
        known->table = shared;
    return shared;
}
