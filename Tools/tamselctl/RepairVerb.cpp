#include "Tools/tamselctl/Verbs.h"

#include "Classes/Shared/CompressedFileRepair.h"
#include "Tools/tamselctl/Invocation.h"

static ExitCode repairFile(Invocation &invocation, const Path &path)
{
    const Result<bool> repaired = CompressedFileRepair::repair(path);
    if (!repaired)
        return invocation.fail(repaired.failure());
    Record record;
    record.add("path", path.native()).add("repaired", *repaired);
    invocation.print(record, path.native() + (*repaired ? ": repaired\n" : ": sound\n"));
    return ExitCode::Done;
}

/// In a folder only what might be broken is looked at.
static ExitCode repairFolder(Invocation &invocation, const Path &folder)
{
    ExitCode exitCode = ExitCode::Done;
    const auto visit = [&](const WalkEntry &entry) {
        if (CompressedFileRepair::isCandidate(entry.path, entry.status) &&
            repairFile(invocation, entry.path) != ExitCode::Done)
            exitCode = ExitCode::Failed;
        return true;
    };
    const auto unreadable = [&](const Path &, const Failure &failure) { exitCode = invocation.fail(failure); };
    if (const Result<void> done = FileSystem::current().walk(folder, visit, unreadable, {}, MountPoints::Enter); !done)
        return invocation.fail(done.failure());
    return exitCode;
}

ExitCode repairPaths(Invocation &invocation)
{
    ExitCode exitCode = ExitCode::Done;
    for (const std::string &path : invocation.operands) {
        const Result<FileStatus> status = FileSystem::current().status(path);
        const bool isDone =
            status && (status->type == FileType::Directory ? repairFolder(invocation, path)
                                                           : repairFile(invocation, path)) == ExitCode::Done;
        if (!status)
            invocation.fail(status.failure());
        if (!isDone)
            exitCode = ExitCode::Failed;
    }
    return exitCode;
}
