#pragma once

#include "Tests/Support/PrivateMounts.h"

#include <filesystem>

#include <sys/types.h>

/// A volume that a program serves: an empty folder, given to the kernel by a process of its own. It ends with this,
/// and before the mounts that it was made in.
class FuseMount final
{
public:
    FuseMount() = default;
    ~FuseMount();
    FuseMount(const FuseMount &) = delete;
    FuseMount &operator=(const FuseMount &) = delete;

    /// False where the machine does not allow it.
    bool mount(PrivateMounts &mounts, const std::filesystem::path &point);

private:
    pid_t m_server = -1;
};
