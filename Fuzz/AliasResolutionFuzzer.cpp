// Whatever a record claims, nothing but the very file that it was made for is found by it, and without a search. The
// input is a record, or the path and, in a second line, the mount point that a sound record is made to claim.

#include "Platform/Formats/AliasRecord.h"
#include "Platform/Linux/LinuxAliasManager.h"

#include <cstdlib>

#include <sys/stat.h>

static constexpr const char *kTarget = "/usr";

static void require(bool holds)
{
    if (!holds)
        std::abort();
}

static bool isTarget(const Path &path)
{
    struct stat found = {}, target = {};
    return ::stat(path.c_str(), &found) == 0 && ::stat(kTarget, &target) == 0 && found.st_dev == target.st_dev &&
           found.st_ino == target.st_ino;
}

static void resolve(ByteView record)
{
    const LinuxAliasManager aliases(LinuxAliasManager::Handles::DoNotTry);
    for (const Path &relativeTo : {Path(), Path("/")}) {
        if (const auto resolution = aliases.resolve(record, relativeTo))
            require(isTarget(resolution->path) && AliasRecord::parse(resolution->record));
    }
    require(aliases.searches() == 0);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const AliasRecord sound =
        *AliasRecord::parse(*LinuxAliasManager(LinuxAliasManager::Handles::DoNotTry).newAlias(kTarget));
    const std::string input(reinterpret_cast<const char *>(data), size);
    const std::string path = input.substr(0, input.find('\n'));
    AliasRecord claiming = sound;
    claiming.set(AliasTag::kPosixPath, bytesOf(path));
    if (path.size() < size)
        claiming.set(AliasTag::kMountPoint, bytesOf(input.substr(path.size() + 1)));
    if (const Result<Bytes> record = claiming.encode())
        resolve(*record);

    Result<AliasRecord> foreign = AliasRecord::parse(ByteView(data, size));
    if (!foreign)
        return 0;
    resolve(ByteView(data, size));
    foreign->set(AliasTag::kIdentity, *sound.find(AliasTag::kIdentity));
    if (const Result<Bytes> record = foreign->encode())
        resolve(*record);
    return 0;
}
