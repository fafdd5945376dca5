#include "Classes/Shared/FolderSurvey.h"

#include "Platform/Formats/CompressedFile.h"

#include <algorithm>

FolderSurvey::FolderSurvey(Path folder, SurveyedFiles &counted)
    : m_folder(std::move(folder))
    , m_counted(counted)
{
}

Result<SurveyResult> FolderSurvey::run(std::stop_token stop)
{
    m_result = {};
    m_damaged.clear();
    const Result<std::uint64_t> expected = countEntries(stop);
    if (!expected)
        return expected.failure();
    report(0);
    std::uint64_t walked = 0;
    const auto visit = [&](const WalkEntry &entry) {
        examine(entry.path, entry.status);
        // What came after the count must not take it to its end before the walk is there.
        const unsigned percent =
            unsigned(std::min<std::uint64_t>(++walked * 100 / std::max<std::uint64_t>(*expected, 1), 99));
        if (percent > m_percent)
            report(percent);
        return isEntered(entry);
    };
    const auto passOver = [](const Path &, const Failure &) {};
    if (const Result<void> done = FileSystem::current().walk(m_folder, visit, passOver, stop); !done)
        return done.failure();
    m_result.isComplete = !stop.stop_requested();
    if (m_result.isComplete) {
        nameDamaged();
        report(100);
    }
    return m_result;
}

/// A percentage of the entries needs to know how many there are; a second walk is cheap, for the first has brought the
/// folders into memory, and it reads no attributes.
Result<std::uint64_t> FolderSurvey::countEntries(std::stop_token stop) const
{
    std::uint64_t count = 0;
    const auto visit = [&](const WalkEntry &entry) {
        ++count;
        return isEntered(entry);
    };
    const auto passOver = [](const Path &, const Failure &) {};
    if (const Result<void> done = FileSystem::current().walk(m_folder, visit, passOver, std::move(stop)); !done)
        return done.failure();
    return count;
}

bool FolderSurvey::isEntered(const WalkEntry &entry) const
{
    return entry.status.type != FileType::Directory || !m_allBelowLeftOut || !m_allBelowLeftOut(entry.path);
}

void FolderSurvey::examine(const Path &path, const FileStatus &status)
{
    // What a volume compresses by itself has content, and is not ours to count.
    if (status.type != FileType::Regular || status.size > 0 || m_counted.contains(status.identity))
        return;
    const Result<std::uint32_t> flags = FileSystem::current().flags(path);
    if (!flags || !(*flags & kCompressedFlag) || (m_leftOut && m_leftOut(path)))
        return;
    const Result<ByteCount> savings = savingsOf(path);
    if (!savings) {
        m_damaged.insert({status.identity, {path, savings.failure().context}});
        return;
    }
    m_counted.add(status.identity);
    ++m_result.compressedFiles;
    m_result.savings += *savings;
}

/// Fails when the file's fork is missing or its head is unsound.
Result<ByteCount> FolderSurvey::savingsOf(const Path &path) const
{
    const FileSystem &files = FileSystem::current();
    const Result<std::unique_ptr<ReadableFork>> fork = files.openResourceFork(path);
    if (!fork)
        return fork.failure();
    if (const Result<CompressedFork> heads = readCompressedFork(**fork); !heads)
        return heads.failure();
    const Result<ByteCount> logical = files.logicalSize(path);
    if (!logical)
        return logical;
    const Result<ByteCount> occupied = files.occupiedSize(path);
    if (!occupied)
        return occupied;
    return *logical - std::min(*logical, *occupied);
}

void FolderSurvey::nameDamaged()
{
    for (const auto &[identity, named] : m_damaged) {
        const auto &[path, reason] = named;
        // One that was removed since the walk met it is no damaged file.
        if (m_counted.contains(identity) || !FileSystem::current().status(path))
            continue;
        m_counted.add(identity);
        ++m_result.damagedFiles;
        if (m_foundDamaged)
            m_foundDamaged(path, reason);
    }
}

void FolderSurvey::report(unsigned percent)
{
    m_percent = percent;
    if (m_progressed)
        m_progressed({percent, m_result.savings});
}
