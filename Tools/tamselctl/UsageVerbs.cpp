#include "Tools/tamselctl/Verbs.h"

#include "Classes/Shared/DVFileUsage.h"
#include "Tools/tamselctl/Invocation.h"

static const char *wayOf(const FileUsageRecord &user)
{
    switch (user.mode) {
    case FileUsageRecord::kWorkingDirectory:
        return "working directory";
    case 0:
        return "reading";
    case 1:
        return "writing";
    default:
        return "reading and writing";
    }
}

/// That a file is missing is said here, and not as if nobody used it.
static Result<FileStatus> lookAt(const Path &path)
{
    return FileSystem::current().status(path, Links::NotFollow);
}

ExitCode showUsers(Invocation &invocation)
{
    const Path path = invocation.operands.front();
    if (const Result<FileStatus> file = lookAt(path); !file)
        return invocation.fail(file.failure());
    std::uint32_t count = 0;
    const FileUsageRecord *const users = DVFileUsage::usersOfFile(path, &count);
    if (!users)
        return invocation.fail("the processes cannot be listed");
    for (const FileUsageRecord *user = users; user != users + count; ++user) {
        Record record;
        record.add("pid", std::int64_t(user->pid)).add("mode", user->mode).add("isWriting", user->isWriting());
        invocation.print(record, std::to_string(user->pid) + " " + wayOf(*user) + "\n");
    }
    return ExitCode::Done;
}

ExitCode showWhetherOpen(Invocation &invocation)
{
    const Path path = invocation.operands.front();
    const bool isExcludingOwn = invocation.options.contains("--excluding-own");
    if (const Result<FileStatus> file = lookAt(path); !file)
        return invocation.fail(file.failure());
    Record record;
    if (invocation.options.contains("--writing")) {
        bool isWritten = false;
        const bool isOpen = DVFileUsage::isFileOpen(path, &isWritten, isExcludingOwn);
        record.add("isOpen", isOpen).add("forWriting", isWritten);
    } else {
        record.add("isOpen", DVFileUsage::isFileOpen(path, isExcludingOwn));
    }
    invocation.print(record);
    return ExitCode::Done;
}
