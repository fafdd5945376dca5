#include "Classes/Shared/WriterWatch.h"

#include "Classes/Shared/DVFileUsage.h"
#include "Platform/Processes.h"

#include <algorithm>

/// Whether another process is seen to write the file.
static bool isWrittenByAnother(const Path &path)
{
    bool isWritten = false;
    DVFileUsage::isFileOpen(path, &isWritten, true);
    return isWritten;
}

/// Whether it is this process that has the file open for writing.
static bool isWrittenByThis(const Path &path)
{
    std::uint32_t count = 0;
    const FileUsageRecord *records = DVFileUsage::usersOfFile(path, &count);
    const std::int32_t own = Processes::current().ownId();
    return records && std::any_of(records, records + count, [&](const FileUsageRecord &record) {
               return record.pid == own && record.isWriting();
           });
}

WriterWatch::WriterWatch(const Path &path, const FileIdentity &file)
{
    Result<std::unique_ptr<FileLease>> lease = FileLeases::current().leaseAgainstWriters(path);
    if (lease) {
        m_isWritten = (*lease)->file() != file;
        m_lease = std::move(*lease);
    } else if (isWrittenByAnother(path)) {
        m_isWritten = true;
    } else {
        // Somebody writes whom this user may not see, where it is nobody who can be seen.
        m_isWritten = lease.failure().code == ErrorCode::Busy && !isWrittenByThis(path);
    }
}

bool WriterWatch::mayReplace() const
{
    return !m_isWritten && (!m_lease || m_lease->isHeld());
}
