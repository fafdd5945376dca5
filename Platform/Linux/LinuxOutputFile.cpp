#include "Platform/Linux/LinuxOutputFile.h"

#include "Platform/Linux/AbandonedFile.h"
#include "Platform/Linux/Companion.h"
#include "Platform/Linux/FileCalls.h"
#include "Platform/Linux/FileLikeness.h"
#include "Platform/Linux/FlagNumber.h"
#include "Platform/Linux/NewFile.h"

#include <fcntl.h>

static Result<Descriptor> openFolder(const Path &path)
{
    const Path folder = path.has_parent_path() ? path.parent_path() : Path(".");
    Descriptor opened(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!opened)
        return Failure::fromErrno(errno, "open", folder);
    return opened;
}

static Failure changed(const Path &path)
{
    return {ErrorCode::Busy, EBUSY, path.native() + " is not the file any more that it was"};
}

LinuxOutputFile::LinuxOutputFile(Descriptor folder, Path path)
    : m_folder(std::move(folder))
    , m_path(std::move(path))
{
}

LinuxOutputFile::~LinuxOutputFile()
{
    if (!m_isScratch || !m_isNamed || !checkName())
        return;
    ::unlinkat(m_folder.get(), m_path.filename().c_str(), 0);
    removeCompanion();
}

Result<std::unique_ptr<OutputFile>> LinuxOutputFile::makeScratch(const Path &path, std::uint32_t mode)
{
    constexpr mode_t kOwnerMayWrite = 0600; // so that whoever finds it after a crash can take it away
    Result<Descriptor> folder = openFolder(path);
    if (!folder)
        return folder.failure();
    auto file = std::make_unique<LinuxOutputFile>(std::move(*folder), path);
    file->m_isScratch = true;
    if (const Result<void> removed = file->removeAbandoned(); !removed)
        return removed.failure();
    if (const Result<void> made = file->make((mode & 0777) | kOwnerMayWrite); !made)
        return made.failure();
    // Attributes that are copied later could leave no room for it. Where it cannot be had, `makeLike` says so.
    (void)FlagNumber::write(file->m_lock.get(), 0);
    return std::unique_ptr<OutputFile>(std::move(file));
}

Result<std::unique_ptr<OutputFile>> LinuxOutputFile::makeNew(const Path &path, std::uint32_t mode)
{
    Result<Descriptor> folder = openFolder(path);
    if (!folder)
        return folder.failure();
    auto file = std::make_unique<LinuxOutputFile>(std::move(*folder), path);
    file->m_isScratch = true; // until it is whole, so that nothing is left
    if (const Result<void> made = file->make(mode & 0777); !made)
        return made.failure();
    file->m_isScratch = false;
    return std::unique_ptr<OutputFile>(std::move(file));
}

Result<void> LinuxOutputFile::removeAbandoned() const
{
    const Result<bool> removed = AbandonedFile::remove(m_folder.get(), m_path.filename(), m_path);
    if (!removed)
        return removed.failure();
    if (*removed) {
        removeCompanion();
        NewFile::removeAbandoned(m_folder.get(), Companion::pathOf(m_path));
    }
    return {};
}

void LinuxOutputFile::removeAbandoned(const Path &path)
{
    Result<Descriptor> folder = openFolder(path);
    if (folder)
        (void)LinuxOutputFile(std::move(*folder), path).removeAbandoned();
}

Result<void> LinuxOutputFile::make(mode_t mode)
{
    constexpr int kFlags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    m_file = Descriptor(::openat(m_folder.get(), m_path.filename().c_str(), kFlags, mode));
    if (!m_file)
        return Failure::fromErrno(errno, "openat", m_path);
    m_isNamed = true;
    m_lock = Descriptor(::fcntl(m_file.get(), F_DUPFD_CLOEXEC, 0));
    if (!m_lock) {
        const int failure = errno;
        std::swap(m_file, m_lock); // by which the destructor knows the file
        return Failure::fromErrno(failure, "fcntl", m_path);
    }
    if (Result<void> locked = AbandonedFile::lockNew(m_lock.get(), m_path); !locked) {
        m_isNamed = locked.failure().code != ErrorCode::Busy;
        return locked;
    }
    return checkName();
}

/// Whether the name is still this file's.
Result<void> LinuxOutputFile::checkName() const
{
    struct stat own = {};
    if (::fstat(m_lock.get(), &own) != 0)
        return Failure::fromErrno(errno, "fstat", m_path);
    struct stat named = {};
    if (::fstatat(m_folder.get(), m_path.filename().c_str(), &named, AT_SYMLINK_NOFOLLOW) != 0)
        return Failure::fromErrno(errno, "fstatat", m_path);
    if (!FileCalls::isSameFile(own, named))
        return changed(m_path);
    return {};
}

Result<void> LinuxOutputFile::write(ByteView content)
{
    return FileCalls::writeAll(m_file.get(), content, m_path);
}

Result<void> LinuxOutputFile::sync() const
{
    if (::fdatasync(m_lock.get()) != 0)
        return Failure::fromErrno(errno, "fdatasync", m_path);
    return {};
}

Result<void> LinuxOutputFile::close()
{
    if (!m_isScratch) {
        if (Result<void> synced = sync(); !synced)
            return synced;
    }
    if (::close(m_file.release()) != 0 && errno != EINTR)
        return Failure::fromErrno(errno, "close", m_path);
    return {};
}

Result<void> LinuxOutputFile::makeLike(const Path &original, const FileStatus &examined)
{
    struct stat status = {};
    if (::lstat(original.c_str(), &status) != 0)
        return Failure::fromErrno(errno, "lstat", original);
    if (FileCalls::statusFrom(status).identity != examined.identity)
        return changed(original);
    if (Result<void> named = checkName(); !named)
        return named;
    if (Result<void> given = FileLikeness::give(m_lock.get(), m_path, original, status); !given)
        return given;
    return sync();
}

static Result<void> checkUnchanged(int folder, const Path &path, const FileStatus &examined)
{
    struct stat status = {};
    if (::fstatat(folder, path.filename().c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0)
        return Failure::fromErrno(errno, "fstatat", path);
    const FileStatus now = FileCalls::statusFrom(status);
    if (now.identity != examined.identity || now.type != FileType::Regular || now.size != examined.size ||
        now.modified != examined.modified || now.modifiedNanoseconds != examined.modifiedNanoseconds ||
        now.linkCount != examined.linkCount)
        return changed(path);
    return {};
}

Result<bool> LinuxOutputFile::replace(const Path &destination, const FileStatus &examined,
                                      const std::function<bool()> &mayReplace)
{
    const Result<Descriptor> folder = openFolder(destination);
    if (!folder)
        return folder.failure();
    if (const Result<void> unchanged = checkUnchanged(folder->get(), destination, examined); !unchanged)
        return unchanged.failure();
    if (const Result<void> handed = handOverAttributes(destination); !handed)
        return handed.failure();
    removeCompanion();
    const Path from = m_path.filename();
    const Path to = destination.filename();
    // From here on nothing takes long.
    if (const Result<void> named = checkName(); !named)
        return named.failure();
    if (const Result<void> unchanged = checkUnchanged(folder->get(), destination, examined); !unchanged)
        return unchanged.failure();
    if (!mayReplace())
        return changed(destination);
    if (::renameat(m_folder.get(), from.c_str(), folder->get(), to.c_str()) != 0)
        return Failure::fromErrno(errno, "renameat", destination);
    m_isNamed = false;
    // Some file systems keep nothing to sync for a folder and say EINVAL.
    return ::fsync(folder->get()) == 0 || errno == EINVAL;
}

Result<void> LinuxOutputFile::setFlags(std::uint32_t flags)
{
    return FlagNumber::write(m_lock.get(), flags);
}

/// An attribute that did not fit into the scratch file stands in a companion of that name, which stays behind. It has
/// to be in the destination's before the rename: there is no moment then in which it is nowhere.
Result<void> LinuxOutputFile::handOverAttributes(const Path &destination) const
{
    struct stat maker = {};
    maker.st_uid = ::geteuid(); // whose the companion is, whoever was given the file
    const Result<Companion> companion = Companion::open(m_path, maker);
    if (!companion && companion.failure().code == ErrorCode::NotFound)
        return {};
    if (!companion)
        return companion.failure();
    struct stat status = {};
    if (::lstat(destination.c_str(), &status) != 0)
        return Failure::fromErrno(errno, "lstat", destination);
    const Result<Companion> present = Companion::open(destination, status);
    std::vector<std::pair<std::string, Bytes>> missing;
    for (const auto &[name, range] : companion->layout().attributes) {
        Result<Bytes> value = companion->attribute(name);
        if (!value)
            return value.failure();
        const Result<Bytes> old = present ? present->attribute(name) : present.failure();
        if (!old || *old != *value)
            missing.emplace_back(name, std::move(*value));
    }
    return missing.empty() ? Result<void>() : Companion::setAttributes(destination, status, missing);
}

void LinuxOutputFile::removeCompanion() const
{
    const Path companion = Companion::pathOf(m_path);
    (void)AbandonedFile::remove(m_folder.get(), companion.filename(), companion);
}
