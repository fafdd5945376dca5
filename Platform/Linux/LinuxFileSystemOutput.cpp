#include "Platform/Linux/Companion.h"
#include "Platform/Linux/DescriptorLock.h"
#include "Platform/Linux/FileCalls.h"
#include "Platform/Linux/LinuxFileSystem.h"
#include "Platform/Linux/LinuxOutputFile.h"
#include "Platform/Linux/NewFile.h"

#include <cstdlib>
#include <fcntl.h>
#include <sys/file.h>

Result<std::unique_ptr<FileLock>> LinuxFileSystem::lockFile(const Path &path) const
{
    struct stat status = {};
    Result<Descriptor> file = FileCalls::openForReading(path, Links::NotFollow, status);
    if (!file)
        return file.failure();
    if (::flock(file->get(), LOCK_EX | LOCK_NB) != 0)
        return Failure::fromErrno(errno, "flock", path);
    return std::unique_ptr<FileLock>(std::make_unique<DescriptorLock>(std::move(*file)));
}

Result<std::unique_ptr<OutputFile>> LinuxFileSystem::openScratchFile(const Path &path, std::uint32_t mode)
{
    return LinuxOutputFile::makeScratch(path, mode);
}

Result<std::unique_ptr<OutputFile>> LinuxFileSystem::openNewFile(const Path &path, std::uint32_t mode)
{
    return LinuxOutputFile::makeNew(path, mode);
}

Result<UniqueFile> LinuxFileSystem::makeUniqueFile(const Path &prefix)
{
    std::string name = prefix.native() + "XXXXXX";
    const int descriptor = ::mkostemp(name.data(), O_CLOEXEC);
    if (descriptor < 0)
        return Failure::fromErrno(errno, "mkostemp", prefix);
    return UniqueFile{name, descriptor};
}

bool LinuxFileSystem::isNameInTheMaking(std::string_view name) const
{
    return NewFile::isName(name);
}

void LinuxFileSystem::removeAbandoned(const Path &path)
{
    LinuxOutputFile::removeAbandoned(path);
}

void LinuxFileSystem::removeAbandonedPartsOf(const Path &path)
{
    NewFile::removeAbandoned(path);
    NewFile::removeAbandoned(Companion::pathOf(path));
}
