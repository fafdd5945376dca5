#include "Platform/Linux/ProcessFolder.h"

#include "Platform/Linux/FrontOfBuffer.h"
#include "Platform/Linux/NumberedEntries.h"

#include <cstring>
#include <optional>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

/// A process that ends while it is looked at is answered as one that is not there.
static Failure failureOf(int systemError, const char *operation)
{
    return Failure::fromErrno(systemError == ESRCH ? ENOENT : systemError, operation);
}

/// Never asks a server for it, which may not answer: which file it is does not change.
static Result<FileIdentity> identityOf(int folder, const char *name)
{
    struct statx status = {};
    if (::statx(folder, name, AT_STATX_DONT_SYNC | AT_NO_AUTOMOUNT, STATX_INO, &status) != 0)
        return failureOf(errno, "statx");
    return FileIdentity{makedev(status.stx_dev_major, status.stx_dev_minor), status.stx_ino};
}

static Result<std::size_t> descriptorsIn(const std::string &path, std::vector<ProcessDescriptor> &buffer)
{
    const std::string name = path + "/fd";
    const Descriptor folder(::open(name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder)
        return failureOf(errno, "open");
    FrontOfBuffer front(buffer);
    const Result<void> read = visitNumberedEntries(folder, [&](const char *entry, std::int32_t number) {
        const Result<FileIdentity> file = identityOf(folder.get(), entry);
        return !file || front.add({number, *file}); // one that was closed meanwhile is left out
    });
    if (!read)
        return read.failure();
    return front.count();
}

/// The number behind "flags:", in octal.
static std::optional<unsigned long> flagsIn(const char *text)
{
    const char *const line = std::strstr(text, "flags:");
    char *end = nullptr;
    const unsigned long flags = line ? std::strtoul(line + std::strlen("flags:"), &end, 8) : 0;
    return line && *end == '\n' ? std::optional(flags) : std::nullopt;
}

static std::uint32_t accessOf(unsigned long flags)
{
    switch (flags & O_ACCMODE) {
    case O_WRONLY:
        return Processes::kWriting;
    case O_RDWR:
        return Processes::kReading | Processes::kWriting;
    default: // reading; naming only, for which the system keeps no access; or 3, for device controls only
        return Processes::kReading;
    }
}

static Result<std::uint32_t> openFlagsIn(const std::string &path, const ProcessDescriptor &descriptor)
{
    const std::string number = std::to_string(descriptor.number);
    const std::string info = path + "/fdinfo/" + number;
    const Descriptor file(::open(info.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file)
        return failureOf(errno, "open");
    char text[512] = {}; // the flags are in the second line
    if (::read(file.get(), text, sizeof text - 1) < 0)
        return failureOf(errno, "read");
    const std::optional<unsigned long> flags = flagsIn(text);
    if (!flags)
        return Failure{ErrorCode::Io, 0, info + " tells no flags"};
    // Asked last, so that the flags are not those of a file that was opened under the same number meanwhile.
    const Result<FileIdentity> now = identityOf(AT_FDCWD, (path + "/fd/" + number).c_str());
    if (!now)
        return now.failure();
    if (*now != descriptor.file)
        return Failure{ErrorCode::NotFound, 0, "the descriptor is another file by now"};
    return accessOf(*flags);
}

ProcessFolder::ProcessFolder(std::int32_t process)
    : m_process(process)
    , m_path("/proc/" + std::to_string(process))
{
}

/// The first thread's answer but NotFound, after that of the process itself. A process whose first thread has ended has
/// neither directories nor descriptors of its own in /proc, while the other threads go on with all of them.
template <class Ask>
auto ProcessFolder::askThreads(Ask &&ask) const
{
    auto answer = ask(m_path);
    if (answer || answer.failure().code != ErrorCode::NotFound)
        return answer;
    const std::string tasks = m_path + "/task";
    const Descriptor folder(::open(tasks.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder)
        return answer;
    const Result<void> read = visitNumberedEntries(folder, [&](const char *entry, std::int32_t number) {
        if (number != m_process)
            answer = ask(tasks + "/" + entry);
        return !answer && answer.failure().code == ErrorCode::NotFound;
    });
    return answer;
}

Result<FileIdentity> ProcessFolder::identity(const char *link) const
{
    return askThreads([link](const std::string &path) { return identityOf(AT_FDCWD, (path + "/" + link).c_str()); });
}

Result<std::size_t> ProcessFolder::descriptors(std::vector<ProcessDescriptor> &buffer) const
{
    return askThreads([&buffer](const std::string &path) -> Result<std::size_t> {
        Result<std::size_t> count = descriptorsIn(path, buffer);
        if (count && *count == 0) {
            if (const Result<FileIdentity> folder = identityOf(AT_FDCWD, (path + "/cwd").c_str()); !folder)
                return folder.failure();
        }
        return count;
    });
}

Result<std::uint32_t> ProcessFolder::openFlags(const ProcessDescriptor &descriptor) const
{
    return askThreads([&descriptor](const std::string &path) { return openFlagsIn(path, descriptor); });
}
