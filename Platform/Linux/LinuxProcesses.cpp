#include "Platform/Linux/LinuxProcesses.h"

#include <unistd.h>

Result<std::vector<std::uint32_t>> LinuxProcesses::supplementaryGroups() const
{
    const int expected = ::getgroups(0, nullptr);
    if (expected < 0)
        return Failure::fromErrno(errno, "getgroups");
    std::vector<gid_t> groups(std::size_t(expected), 0);
    const int count = ::getgroups(expected, groups.data());
    if (count < 0)
        return Failure::fromErrno(errno, "getgroups");
    return std::vector<std::uint32_t>(groups.begin(), groups.begin() + count);
}
