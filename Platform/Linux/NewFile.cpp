#include "Platform/Linux/NewFile.h"

#include "Platform/Linux/FileCalls.h"

#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>

static Path folderOf(const Path &path)
{
    return path.has_parent_path() ? path.parent_path() : Path(".");
}

static std::string randomName()
{
    // Not derived from the destination's name, which may fill the 255 bytes already.
    std::uint64_t number = 0;
    if (::getrandom(&number, sizeof number, 0) != ssize_t(sizeof number))
        number = std::uint64_t(::getpid());
    char name[40] = {};
    std::snprintf(name, sizeof name, ".tamsel-%016llx.new", static_cast<unsigned long long>(number));
    return name;
}

NewFile::NewFile(Descriptor folder, Path destination)
    : m_folder(std::move(folder))
    , m_destination(std::move(destination))
{
}

NewFile::NewFile(NewFile &&other) noexcept
    : m_folder(std::move(other.m_folder))
    , m_file(std::move(other.m_file))
    , m_destination(std::move(other.m_destination))
    , m_name(std::exchange(other.m_name, Path()))
{
}

NewFile::~NewFile()
{
    if (!m_name.empty())
        ::unlinkat(m_folder.get(), m_name.filename().c_str(), 0);
}

Result<NewFile> NewFile::beside(const Path &destination, mode_t mode)
{
    const Path folderPath = folderOf(destination);
    Descriptor folder(::open(folderPath.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder)
        return Failure::fromErrno(errno, "open", folderPath);
    NewFile file(std::move(folder), destination);
    if (const Result<void> opened = file.open(mode); !opened)
        return opened.failure();
    return file;
}

Result<void> NewFile::open(mode_t mode)
{
    constexpr int kAttempts = 16;
    for (int attempt = 1;; ++attempt) {
        const Path name = randomName();
        const int flags = O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
        Descriptor file(::openat(m_folder.get(), name.c_str(), flags, mode));
        const int failure = errno;
        if (file) {
            m_file = std::move(file);
            m_name = name;
            return {};
        }
        if (failure != EEXIST || attempt == kAttempts)
            return Failure::fromErrno(failure, "openat", m_destination);
    }
}

Result<void> NewFile::write(ByteView content)
{
    return FileCalls::writeAll(m_file.get(), content, m_destination);
}

Result<void> NewFile::sync()
{
    if (::fsync(m_file.get()) != 0)
        return Failure::fromErrno(errno, "fsync", m_destination);
    if (::close(m_file.release()) != 0)
        return Failure::fromErrno(errno, "close", m_destination);
    return {};
}

Result<void> NewFile::syncFolder()
{
    // Some file systems keep nothing to sync for a folder and say EINVAL.
    if (::fsync(m_folder.get()) != 0 && errno != EINVAL)
        return Failure::fromErrno(errno, "fsync of the folder", m_destination);
    return {};
}

Result<void> NewFile::replace()
{
    if (Result<void> synced = sync(); !synced)
        return synced;
    const Path name = m_destination.filename();
    if (::renameat(m_folder.get(), m_name.c_str(), m_folder.get(), name.c_str()) != 0)
        return Failure::fromErrno(errno, "renameat", m_destination);
    m_name.clear();
    return syncFolder();
}

Result<void> NewFile::appear()
{
    struct stat made = {};
    if (::fstat(m_file.get(), &made) != 0)
        return Failure::fromErrno(errno, "fstat", m_destination);
    if (Result<void> synced = sync(); !synced)
        return synced;
    const Path name = m_destination.filename();
    if (Result<void> moved = FileCalls::moveWithoutReplacing(m_folder.get(), m_name, name); !moved)
        return moved;
    m_name.clear();
    Result<void> synced = syncFolder();
    struct stat now = {};
    if (!synced && ::fstatat(m_folder.get(), name.c_str(), &now, AT_SYMLINK_NOFOLLOW) == 0 &&
        now.st_dev == made.st_dev && now.st_ino == made.st_ino)
        ::unlinkat(m_folder.get(), name.c_str(), 0);
    return synced;
}
