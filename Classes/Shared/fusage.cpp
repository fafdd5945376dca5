#include "Classes/Shared/fusage.h"

#include "Platform/Processes.h"

#include <algorithm>
#include <cstdio>
#include <new>
#include <vector>

static_assert(sizeof(FileUsageRecord) == 8);

namespace {

/// Used by one call after the other, only ever enlarged, and never freed.
struct Buffers
{
    std::vector<std::int32_t> pids;
    std::vector<std::int32_t> pidsForPath;
    std::vector<ProcessDescriptor> descriptors;
    std::vector<FileUsageRecord> records; ///< as many as the most processes that there were
};

} // namespace

static Buffers &buffers()
{
    static Buffers &s_buffers = *new Buffers;
    return s_buffers;
}

static const std::int32_t *answerList(const std::vector<std::int32_t> &buffer, const Result<std::size_t> &listed,
                                      std::uint32_t *count)
{
    if (!listed) {
        const bool isOutOfMemory = listed.failure().code == ErrorCode::NoSpace;
        std::fputs(isOutOfMemory ? "Not enough memory to read process list!\n" : "Could not read process list.\n",
                   stderr);
        return nullptr;
    }
    if (count)
        *count = std::uint32_t(*listed);
    return buffer.data();
}

const std::int32_t *get_pid_list(std::uint32_t *count)
{
    std::vector<std::int32_t> &pids = buffers().pids;
    return answerList(pids, Processes::current().processIds(pids), count);
}

const std::int32_t *get_pid_list_for(const char *path, std::uint32_t *count)
{
    std::vector<std::int32_t> &pids = buffers().pidsForPath;
    return answerList(pids, Processes::current().processesUsing(path, pids), count);
}

int process_vnodes(std::int32_t pid, std::uint32_t *mode, const FileStatus &file)
{
    const Result<FileIdentity> folder = Processes::current().workingDirectory(pid);
    if (!folder || *folder != file.identity)
        return 0;
    *mode = FileUsageRecord::kWorkingDirectory;
    return 1;
}

int process_fds(std::int32_t pid, std::uint32_t *mode, const FileStatus &file)
{
    const Processes &processes = Processes::current();
    std::vector<ProcessDescriptor> &descriptors = buffers().descriptors;
    const Result<std::size_t> count = processes.descriptors(pid, descriptors);
    if (!count) {
        if (count.failure().code == ErrorCode::Io)
            std::fprintf(stderr, "Could not get fds for process %u\n", unsigned(pid));
        return 0;
    }
    for (std::size_t index = 0; index < *count; ++index) {
        if (descriptors[index].file != file.identity)
            continue;
        const Result<std::uint32_t> flags = processes.openFlags(pid, descriptors[index]);
        if (!flags) // closed meanwhile
            continue;
        *mode = *flags - 1;
        return 1;
    }
    return 0;
}

static bool makeRoom(std::vector<FileUsageRecord> &records, std::size_t processCount)
{
    try {
        records.resize(std::max(records.size(), processCount));
    } catch (const std::bad_alloc &) {
        return false;
    }
    return true;
}

const FileUsageRecord *get_fusage(const char *path, std::uint32_t *count)
{
    const Result<FileStatus> file = FileSystem::current().status(path, Links::NotFollow);
    if (!file) {
        std::fprintf(stderr, "File %s does not exist.\n", path);
        return nullptr;
    }
    std::uint32_t processCount = 0;
    const std::int32_t *const pids = get_pid_list(&processCount);
    std::vector<FileUsageRecord> &records = buffers().records;
    if (!pids || !makeRoom(records, processCount))
        return nullptr;
    std::uint32_t found = 0;
    for (std::size_t index = 0; index < records.size(); ++index) {
        std::uint32_t mode = 0;
        if (process_vnodes(pids[index], &mode, *file) || process_fds(pids[index], &mode, *file))
            records[found++] = {pids[index], mode};
    }
    *count = found;
    return records.data();
}

int is_file_open_for_writing(const char *path, const FileUsageRecord **records, std::uint32_t *count)
{
    std::uint32_t found = 0;
    const FileUsageRecord *const users = get_fusage(path, &found);
    if (records)
        *records = users;
    if (count)
        *count = found;
    return users && std::any_of(users, users + found, [](const FileUsageRecord &user) { return user.isWriting(); });
}
