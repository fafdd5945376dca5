#include "Platform/Linux/LinuxFileLeases.h"

#include "Platform/Linux/FileCalls.h"

#include <csignal>
#include <fcntl.h>

namespace {

class ReadLease final : public FileLease
{
public:
    ReadLease(Descriptor descriptor, FileIdentity file)
        : m_descriptor(std::move(descriptor))
        , m_file(file)
    {
    }

    /// Not left to closing: a child process that was forked meanwhile would hold it on.
    ~ReadLease() override { ::fcntl(m_descriptor.get(), F_SETLEASE, F_UNLCK); }

    FileIdentity file() const override { return m_file; }

    /// While somebody waits for it to be given back, the system answers what it is to become.
    bool isHeld() const override { return ::fcntl(m_descriptor.get(), F_GETLEASE) == F_RDLCK; }

private:
    const Descriptor m_descriptor;
    const FileIdentity m_file;
};

} // namespace

Result<std::unique_ptr<FileLease>> LinuxFileLeases::leaseAgainstWriters(const Path &path) const
{
    struct stat status = {};
    Result<Descriptor> file = FileCalls::openForReading(path, Links::NotFollow, status);
    if (!file)
        return file.failure();
    // SIGIO, which tells of a broken lease unless another signal is chosen, ends a process. This one is ignored where
    // nobody handles it.
    if (::fcntl(file->get(), F_SETSIG, SIGURG) != 0)
        return Failure::fromErrno(errno, "F_SETSIG", path);
    if (::fcntl(file->get(), F_SETLEASE, F_RDLCK) != 0)
        return Failure::fromErrno(errno, "F_SETLEASE", path);
    return std::unique_ptr<FileLease>(
        std::make_unique<ReadLease>(std::move(*file), FileIdentity{status.st_dev, status.st_ino}));
}
