#include "Platform/Fake/FakeProcesses.h"

#include <algorithm>

template <class Element>
static std::size_t writeToFront(const std::vector<Element> &list, std::vector<Element> &buffer)
{
    buffer.resize(std::max(buffer.size(), list.size()));
    std::copy(list.begin(), list.end(), buffer.begin());
    return list.size();
}

Result<std::vector<std::uint32_t>> FakeProcesses::supplementaryGroups() const
{
    if (const std::optional<Failure> failure = failures.next())
        return *failure;
    return groups;
}

Result<std::size_t> FakeProcesses::processIds(std::vector<std::int32_t> &buffer) const
{
    if (const std::optional<Failure> failure = failures.next())
        return *failure;
    std::vector<std::int32_t> ids;
    for (const Process &process : processes)
        ids.push_back(process.id);
    return writeToFront(ids, buffer);
}

Result<std::size_t> FakeProcesses::processesUsing(const Path &path, std::vector<std::int32_t> &buffer) const
{
    if (const std::optional<Failure> failure = failures.next())
        return *failure;
    const Result<FileStatus> status = FileSystem::current().status(path, Links::Follow);
    if (!status)
        return status.failure();
    std::vector<std::int32_t> ids;
    for (const Process &process : processes) {
        const bool isOpen = std::any_of(process.open.begin(), process.open.end(),
                                        [&](const Open &each) { return each.file == status->identity; });
        if (!process.isAnothers && (isOpen || process.workingDirectory == status->identity))
            ids.push_back(process.id);
    }
    return writeToFront(ids, buffer);
}

Result<const FakeProcesses::Process *> FakeProcesses::reach(std::int32_t process) const
{
    if (const std::optional<Failure> failure = failures.next())
        return *failure;
    const auto found =
        std::find_if(processes.begin(), processes.end(), [&](const Process &each) { return each.id == process; });
    if (found == processes.end())
        return Failure{ErrorCode::NotFound, ENOENT, "no such process"};
    if (found->isAnothers)
        return Failure{ErrorCode::Permission, EACCES, "another user's process"};
    return &*found;
}

Result<FileIdentity> FakeProcesses::workingDirectory(std::int32_t process) const
{
    const Result<const Process *> found = reach(process);
    if (!found)
        return found.failure();
    return (*found)->workingDirectory;
}

Result<std::size_t> FakeProcesses::descriptors(std::int32_t process, std::vector<ProcessDescriptor> &buffer) const
{
    const Result<const Process *> found = reach(process);
    if (!found)
        return found.failure();
    std::vector<ProcessDescriptor> list;
    for (const Open &open : (*found)->open)
        list.push_back({open.number, open.file});
    return writeToFront(list, buffer);
}

Result<std::uint32_t> FakeProcesses::openFlags(std::int32_t process, const ProcessDescriptor &descriptor) const
{
    const Result<const Process *> found = reach(process);
    if (!found)
        return found.failure();
    for (const Open &open : (*found)->open) {
        if (open.number == descriptor.number && open.file == descriptor.file)
            return open.flags;
    }
    return Failure{ErrorCode::NotFound, ENOENT, "no such descriptor"};
}
