#include "Classes/Shared/DVFileUsage.h"

#include "Platform/Processes.h"

#include <algorithm>
#include <span>

static std::span<const FileUsageRecord> usersOf(const Path &path)
{
    std::uint32_t count = 0;
    const FileUsageRecord *const users = DVFileUsage::usersOfFile(path, &count);
    return users ? std::span(users, count) : std::span<const FileUsageRecord>();
}

static bool isOwn(const FileUsageRecord &user)
{
    return user.pid == Processes::current().ownId();
}

bool DVFileUsage::isFileOpen(const Path &path)
{
    return isFileOpen(path, false);
}

bool DVFileUsage::isFileOpen(const Path &path, bool excludingOwnProcess)
{
    const auto users = usersOf(path);
    if (excludingOwnProcess && std::any_of(users.begin(), users.end(), isOwn))
        return users.size() - 1 > 0;
    return !users.empty();
}

bool DVFileUsage::isFileOpen(const Path &path, bool *forWriting)
{
    return isFileOpen(path, forWriting, false);
}

bool DVFileUsage::isFileOpen(const Path &path, bool *forWriting, bool excludingOwnProcess)
{
    const auto users = usersOf(path);
    *forWriting = std::any_of(users.begin(), users.end(), [excludingOwnProcess](const FileUsageRecord &user) {
        return user.isWriting() && !(excludingOwnProcess && isOwn(user));
    });
    return !users.empty();
}

const FileUsageRecord *DVFileUsage::usersOfFile(const Path &path, std::uint32_t *count)
{
    return get_fusage(path.c_str(), count);
}
