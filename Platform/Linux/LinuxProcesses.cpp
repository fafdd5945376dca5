#include "Platform/Linux/LinuxProcesses.h"

#include "Platform/Linux/FrontOfBuffer.h"
#include "Platform/Linux/NumberedEntries.h"
#include "Platform/Linux/ProcessFolder.h"

#include <algorithm>

#include <fcntl.h>
#include <sys/stat.h>
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

std::int32_t LinuxProcesses::ownId() const
{
    return ::getpid();
}

Result<std::size_t> LinuxProcesses::processIds(std::vector<std::int32_t> &buffer) const
{
    const Descriptor folder(::open("/proc", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder)
        return Failure::fromErrno(errno, "open", "/proc");
    FrontOfBuffer front(buffer);
    const Result<void> read =
        visitNumberedEntries(folder, [&](const char *, std::int32_t number) { return front.add(number); });
    if (!read)
        return read.failure();
    return front.count();
}

Result<std::size_t> LinuxProcesses::processesUsing(const Path &path, std::vector<std::int32_t> &buffer) const
{
    struct stat status = {};
    if (::stat(path.c_str(), &status) != 0)
        return Failure::fromErrno(errno, "stat", path);
    std::vector<std::int32_t> all;
    const Result<std::size_t> count = processIds(all);
    if (!count)
        return count.failure();
    std::vector<ProcessDescriptor> descriptors;
    FrontOfBuffer front(buffer);
    for (std::size_t index = 0; index < *count; ++index) {
        if (uses(all[index], {status.st_dev, status.st_ino}, descriptors) && !front.add(all[index]))
            break;
    }
    return front.count();
}

bool LinuxProcesses::uses(std::int32_t process, const FileIdentity &file,
                          std::vector<ProcessDescriptor> &descriptors) const
{
    const ProcessFolder folder(process);
    for (const char *const link : {"cwd", "root", "exe"}) {
        const Result<FileIdentity> linked = folder.identity(link);
        if (linked && *linked == file)
            return true;
    }
    const Result<std::size_t> count = this->descriptors(process, descriptors);
    const auto end = descriptors.begin() + std::ptrdiff_t(count.valueOr(0));
    return std::any_of(descriptors.begin(), end, [&](const ProcessDescriptor &each) { return each.file == file; });
}

Result<FileIdentity> LinuxProcesses::workingDirectory(std::int32_t process) const
{
    return ProcessFolder(process).identity("cwd");
}

Result<std::size_t> LinuxProcesses::descriptors(std::int32_t process, std::vector<ProcessDescriptor> &buffer) const
{
    return ProcessFolder(process).descriptors(buffer);
}

Result<std::uint32_t> LinuxProcesses::openFlags(std::int32_t process, const ProcessDescriptor &descriptor) const
{
    return ProcessFolder(process).openFlags(descriptor);
}
