#include "Classes/PrefPane/traverse_using_objc_filter.h"

static void collect(const Path &path, CollectedPaths &collected)
{
    std::error_code failure;
    const Path real = std::filesystem::canonical(path, failure);
    if (failure)
        return;
    const std::lock_guard lock(collected.mutex);
    collected.paths.push_back(real.native());
}

CollectedPaths *traverse_using_objc_filter(const Path &path, CollectedPaths *collected, const TraversalFilter &filter,
                                           std::stop_token stop, const TraversalFailure &unreadable)
{
    const auto visit = [&](const WalkEntry &entry) {
        const std::uint32_t answer = filter ? filter(entry) : 0;
        if ((answer & kPathAccepted) && collected) {
            collect(entry.path, *collected);
            return false;
        }
        return (answer & kDoNotDescend) == 0;
    };
    const FileSystem &files = FileSystem::current();
    const Result<FileStatus> status = files.status(path);
    const auto passOver = [&](const Path &where, const Failure &failure) {
        if (unreadable)
            unreadable(where, failure);
    };
    if (!status)
        passOver(path, status.failure());
    if (!status || !visit({path, *status}) || status->type != FileType::Directory)
        return collected;
    const Result<void> walked = files.walk(path, visit, passOver, std::move(stop), MountPoints::Enter);
    if (!walked)
        passOver(path, walked.failure());
    return collected;
}
