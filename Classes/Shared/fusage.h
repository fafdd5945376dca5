#pragma once

#include "Platform/FileSystem.h"

#include <cstdint>

/// How one process uses a file.
struct FileUsageRecord
{
    /// Of a process that has the file as its working directory.
    static constexpr std::uint32_t kWorkingDirectory = 0xFFFF;

    std::int32_t pid = 0;
    std::uint32_t mode = 0; ///< 0 reading, 1 writing, 2 both, or `kWorkingDirectory`

    /// A working directory counts as written to.
    bool isWriting() const { return mode == kWorkingDirectory || (mode & 3) != 0; }
};

// Which processes use a file. A file is known by device and inode, never by its path; a final link is not followed. A
// process that cannot be looked at does not count: an ordinary user is not told of others'.
//
// What these answer points into buffers that live as long as the program and are used again by the next call. One
// thread at a time.

/// The ids of all processes and, unless `count` is null, their number. nullptr, and a line on standard error, when they
/// cannot be listed; `count` stays as it is then.
const std::int32_t *get_pid_list(std::uint32_t *count);

/// The same of the processes that use the file at `path`, as their program or root directory too. A final link is
/// followed.
const std::int32_t *get_pid_list_for(const char *path, std::uint32_t *count);

/// 1, and `kWorkingDirectory` in `mode`, when the file is the process's working directory; else 0.
int process_vnodes(std::int32_t pid, std::uint32_t *mode, const FileStatus &file);

/// 1, and how it was opened in `mode`, when one of the process's descriptors is the file; else 0. The first such
/// descriptor is the one that counts.
int process_fds(std::int32_t pid, std::uint32_t *mode, const FileStatus &file);

/// The records of all processes that use the file, and their number. As many processes are looked at as there ever
/// were: where there are fewer now, the list's old end is gone through again, and a process can be met twice. nullptr,
/// with `count` as it is and a line on standard error, when the file is missing or the processes cannot be listed.
const FileUsageRecord *get_fusage(const char *path, std::uint32_t *count);

/// 1 when some process writes to the file, else 0. The records and their number are handed out unless null.
int is_file_open_for_writing(const char *path, const FileUsageRecord **records, std::uint32_t *count);
