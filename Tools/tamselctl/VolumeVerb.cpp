#include "Tools/tamselctl/Verbs.h"

#include "Classes/Shared/DVVolume.h"
#include "Platform/Volumes.h"
#include "Tools/tamselctl/Invocation.h"

/// Answers whether everything is known.
static bool showVolume(const Invocation &invocation, const Path &path, const std::string &separator)
{
    if (const Result<std::int16_t> number = Volumes::current().referenceNumber(path); !number) {
        invocation.note(number.failure().context);
        return false;
    }
    Record record;
    record.add("path", path.native());
    record.add("volumeReferenceNumber", std::int64_t(DVVolume::volumeReferenceNumberForPath(path)));
    record.add("fileSystemType", DVVolume::fileSystemTypeForPath(path));
    record.add("isHFS", DVVolume::fsIsHFSVolumeForPath(path));
    DVVolumeInfo info;
    const bool isKnown = DVVolume::volumeInfoForPath(path, info);
    if (isKnown) {
        record.add("isHFSPlus", info.isHFSPlus);
        record.add("isRemovable", info.isRemovable).add("isEjectable", info.isEjectable);
        record.add("isInternal", info.isInternal).add("isExternal", info.isExternal);
        record.add("isWritable", info.isWritable);
    } else {
        invocation.note(path.native() + ": the system does not tell on what this volume lies");
    }
    record.add("capabilities", DVVolume::volumeCapabilitiesForVolumeAtPath(path.c_str()));
    record.add("exchangedataSupported", DVVolume::exchangedataSupportedInVolumeForPath(path));
    invocation.print(record, separator + record.toText());
    return isKnown;
}

ExitCode showVolumes(Invocation &invocation)
{
    bool isDone = true;
    std::string separator;
    for (const std::string &path : invocation.operands) {
        isDone = showVolume(invocation, path, separator) && isDone;
        separator = "\n";
    }
    return isDone ? ExitCode::Done : ExitCode::Failed;
}
