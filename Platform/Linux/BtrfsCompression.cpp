#include "Platform/Linux/BtrfsCompression.h"

#include "Platform/Linux/BtrfsFile.h"
#include "Platform/Linux/BtrfsFolder.h"

#include <sys/statvfs.h>
#include <sys/vfs.h>

using Ability = TransparentCompression::Ability;
using FolderState = TransparentCompression::FolderState;

Result<Ability> BtrfsCompression::ability(const Path &folder) const
{
    struct statfs volume = {};
    if (::statfs(folder.c_str(), &volume) != 0)
        return Failure::fromErrno(errno, "statfs", folder);
    return volume.f_flags & ST_RDONLY ? Ability::ReadOnly : Ability::Compresses;
}

Result<FolderState> BtrfsCompression::turnOn(const Path &folder)
{
    Result<BtrfsFolder> opened = BtrfsFolder::open(folder);
    return opened ? opened->turnOn() : Result<FolderState>(opened.failure());
}

Result<bool> BtrfsCompression::isTurnedOn(const Path &folder) const
{
    const Result<BtrfsFolder> opened = BtrfsFolder::open(folder);
    return opened ? opened->isTurnedOn() : Result<bool>(opened.failure());
}

Result<bool> BtrfsCompression::turnOff(const Path &folder)
{
    Result<BtrfsFolder> opened = BtrfsFolder::open(folder);
    return opened ? opened->turnOff() : Result<bool>(opened.failure());
}

Result<std::unique_ptr<CompressibleFile>> BtrfsCompression::open(const Path &file) const
{
    return BtrfsFile::open(file);
}
