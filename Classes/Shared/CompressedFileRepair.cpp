#include "Classes/Shared/CompressedFileRepair.h"

#include "Classes/Shared/CompressedFileInspection.h"
#include "Classes/Shared/HFSCompression.h"
#include "Classes/Shared/TemporaryFiles.h"

bool CompressedFileRepair::isCandidate(const Path &path, const FileStatus &status)
{
    if (status.type != FileType::Regular || status.size > 0)
        return false;
    const Result<Bytes> value = FileSystem::current().attribute(path, kDecmpfsAttribute, Links::NotFollow);
    const std::optional<HFSPlusDecmpfs> header = value ? readDecmpfs(*value) : std::nullopt;
    return header && header->compressionType == kResourceForkCompression;
}

Result<bool> CompressedFileRepair::repair(const Path &path)
{
    FileSystem &files = FileSystem::current();
    const Result<FileStatus> before = files.status(path);
    if (!before)
        return before.failure();
    // The expander holds this lock as long as the flag is cleared on purpose.
    const Result<std::unique_ptr<FileLock>> lock = files.lockFile(path);
    if (!lock)
        return lock.failure();
    files.removeAbandoned(getTemporaryFileNameBasedOnExistingPath(path));
    files.removeAbandonedPartsOf(path);
    const Result<CompressedFileInspection> found = CompressedFileInspection::inspect(path);
    if (!found)
        return found.failure();
    if (!found->troubleOfContent.empty())
        return Failure{ErrorCode::Corrupt, 0, path.native() + ": " + found->troubleOfContent};
    if (found->isCompressed())
        return false;
    const Result<FileStatus> now = files.status(path);
    if (!now)
        return now.failure();
    if (now->identity != before->identity || now->size != 0)
        return Failure{ErrorCode::Busy, 0, path.native() + " was changed meanwhile"};
    if (!HFSCompression::setFileAsUFCompressed(path, true))
        return Failure{ErrorCode::Io, 0, path.native() + ": the flag cannot be set"};
    return true;
}
