#pragma once

#include "Platform/Linux/Descriptor.h"
#include "Platform/Result.h"

#include <cerrno>
#include <cstdint>
#include <cstdlib>

#include <dirent.h>

/// Calls `visit(name, number)` for each entry of the open directory whose name is a number, as /proc has them, in the
/// directory's order, until it answers false. Errors: those of reading the directory; NotFound when what it tells of
/// has ended meanwhile.
template <class Visit>
Result<void> visitNumberedEntries(const Descriptor &directory, Visit &&visit)
{
    alignas(dirent64) char buffer[16384];
    for (;;) {
        const ssize_t got = ::getdents64(directory.get(), buffer, sizeof buffer);
        if (got < 0)
            return Failure::fromErrno(errno == ESRCH ? ENOENT : errno, "getdents64");
        if (got == 0)
            return {};
        for (ssize_t position = 0; position < got;) {
            const auto *const entry = reinterpret_cast<const dirent64 *>(buffer + position);
            position += entry->d_reclen;
            char *end = nullptr;
            const long number = entry->d_name[0] >= '0' && entry->d_name[0] <= '9'
                                    ? std::strtol(static_cast<const char *>(entry->d_name), &end, 10)
                                    : -1;
            if (number >= 0 && *end == '\0' && !visit(static_cast<const char *>(entry->d_name), std::int32_t(number)))
                return {};
        }
    }
}
