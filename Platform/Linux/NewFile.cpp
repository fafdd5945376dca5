#include "Platform/Linux/NewFile.h"

#include "Platform/Linux/AbandonedFile.h"
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

static constexpr char kStart[] = ".tamsel-", kEnd[] = ".new";
static constexpr int kDigits = 16;
static constexpr int kOwnNames = 4; // of a destination; as many processes can make it at once

static std::string nameOf(std::uint64_t number)
{
    char name[40] = {};
    std::snprintf(name, sizeof name, "%s%0*llx%s", kStart, kDigits, static_cast<unsigned long long>(number), kEnd);
    return name;
}

/// The destination's name itself may fill the 255 bytes already; this is its FNV-1a of 64 bits.
static std::string ownName(const Path &destination, int which)
{
    const std::string name = destination.filename().native();
    std::uint64_t number = 14695981039346656037u;
    for (const char byte : name)
        number = (number ^ std::uint8_t(byte)) * 1099511628211u;
    return nameOf(number + std::uint64_t(which));
}

static std::string randomName()
{
    std::uint64_t number = 0;
    if (::getrandom(&number, sizeof number, 0) != ssize_t(sizeof number))
        number = std::uint64_t(::getpid());
    return nameOf(number);
}

NewFile::NewFile(Descriptor folder, Path destination)
    : m_folder(std::move(folder))
    , m_destination(std::move(destination))
{
}

NewFile::NewFile(NewFile &&other) noexcept
    : m_folder(std::move(other.m_folder))
    , m_file(std::move(other.m_file))
    , m_lock(std::move(other.m_lock))
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
    removeAbandoned(m_folder.get(), m_destination);
    for (int attempt = 0;; ++attempt) {
        const Path name = attempt < kOwnNames ? ownName(m_destination, attempt) : randomName();
        const int flags = O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
        Descriptor file(::openat(m_folder.get(), name.c_str(), flags, mode));
        const int failure = file ? EEXIST : errno;
        if (file) {
            m_file = std::move(file);
            m_name = name;
            if (lock())
                return {};
            m_name.clear();
            m_file = Descriptor();
            m_lock = Descriptor();
            (void)AbandonedFile::remove(m_folder.get(), name, m_destination); // if it is this one still
        }
        if (failure != EEXIST || attempt + 1 == kAttempts)
            return Failure::fromErrno(failure, "openat", m_destination);
    }
}

/// Whether the new file is locked, or need not be: where there are no locks nobody can take it for abandoned. Between
/// its making and its locking another process can, and the name may be a third one's by now.
bool NewFile::lock()
{
    m_lock = Descriptor(::fcntl(m_file.get(), F_DUPFD_CLOEXEC, 0));
    const int descriptor = m_lock ? m_lock.get() : m_file.get();
    const Result<void> locked = AbandonedFile::lockNew(descriptor, m_destination);
    struct stat own = {}, named = {};
    return (locked || locked.failure().code != ErrorCode::Busy) && ::fstat(descriptor, &own) == 0 &&
           ::fstatat(m_folder.get(), m_name.c_str(), &named, AT_SYMLINK_NOFOLLOW) == 0 &&
           FileCalls::isSameFile(own, named);
}

void NewFile::removeAbandoned(int folder, const Path &destination)
{
    for (int which = 0; which < kOwnNames; ++which)
        (void)AbandonedFile::remove(folder, ownName(destination, which), destination);
}

void NewFile::removeAbandoned(const Path &destination)
{
    const Descriptor folder(::open(folderOf(destination).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder)
        removeAbandoned(folder.get(), destination);
}

bool NewFile::isName(std::string_view name)
{
    const std::string_view start = kStart, end = kEnd;
    return name.size() == start.size() + kDigits + end.size() && name.starts_with(start) && name.ends_with(end) &&
           name.find_first_not_of("0123456789abcdef", start.size()) == start.size() + kDigits;
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

/// Nobody who finds the file in its place is to find it locked.
void NewFile::leaveName()
{
    m_name.clear();
    m_lock = Descriptor();
}

Result<void> NewFile::replace()
{
    if (Result<void> synced = sync(); !synced)
        return synced;
    const Path name = m_destination.filename();
    if (::renameat(m_folder.get(), m_name.c_str(), m_folder.get(), name.c_str()) != 0)
        return Failure::fromErrno(errno, "renameat", m_destination);
    leaveName();
    return syncFolder();
}

/// The new file goes to `kept` first and changes places from there: no file in the making, which the next writer would
/// take for abandoned, is ever the only one with the old content.
Result<void> NewFile::replaceKeepingOld(const Path &kept)
{
    if (Result<void> synced = sync(); !synced)
        return synced;
    const Path name = m_destination.filename(), other = kept.filename();
    if (Result<void> moved = FileCalls::moveWithoutReplacing(m_folder.get(), m_name, other); !moved)
        return moved;
    leaveName();
    if (::renameat2(m_folder.get(), other.c_str(), m_folder.get(), name.c_str(), RENAME_EXCHANGE) == 0)
        return syncFolder();
    const int failure = errno;
    ::unlinkat(m_folder.get(), other.c_str(), 0);
    if (failure == EINVAL || failure == ENOSYS)
        return Failure{ErrorCode::NotSupported, failure, "cannot exchange files: " + m_destination.native()};
    return Failure::fromErrno(failure, "renameat2", m_destination);
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
    leaveName();
    Result<void> synced = syncFolder();
    struct stat now = {};
    if (!synced && ::fstatat(m_folder.get(), name.c_str(), &now, AT_SYMLINK_NOFOLLOW) == 0 &&
        FileCalls::isSameFile(now, made))
        ::unlinkat(m_folder.get(), name.c_str(), 0);
    return synced;
}
