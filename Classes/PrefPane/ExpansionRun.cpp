#include "Classes/PrefPane/ExpansionRun.h"

#include "Classes/PrefPane/PXPathUncompressor.h"

#include <unordered_set>
#include <utility>

using Phase = ExpansionProgress::Phase;

ExpansionRun::ExpansionRun(std::vector<Path> paths, Describe describe)
    : m_paths(std::move(paths))
    , m_describe(std::move(describe))
{
}

void ExpansionRun::perform(PXPathUncompressorDelegate *delegate)
{
    if (measure()) {
        setPhase(Phase::Expanding);
        for (const Path &path : m_paths) {
            PXPathUncompressor uncompressor(path);
            uncompressor.setObserver(this);
            uncompressor.setStop(m_stop.get_token());
            uncompressor.runWithDelegate(delegate);
        }
    }
    m_journal.close();
    setPhase(Phase::Ended);
}

/// Those that lie below none of the others, each once.
static std::vector<Path> outermost(const std::vector<Path> &paths)
{
    std::unordered_set<std::string> all;
    for (const Path &path : paths)
        all.insert(path.native());
    const auto liesBelowAnother = [&](const Path &path) {
        for (Path inner = path; inner.has_relative_path(); inner = inner.parent_path()) {
            if (all.contains(inner.parent_path().native()))
                return true;
        }
        return false;
    };
    std::unordered_set<std::string> kept;
    std::vector<Path> answer;
    for (const Path &path : paths) {
        if (!liesBelowAnother(path) && kept.insert(path.native()).second)
            answer.push_back(path);
    }
    return answer;
}

/// Answers whether to go on.
bool ExpansionRun::measure()
{
    ExpansionSurvey survey(m_stop.get_token());
    survey.setProgressed([this](std::uint64_t entries) {
        const std::lock_guard lock(m_mutex);
        m_progress.entries = entries;
    });
    for (const Path &path : outermost(m_paths))
        survey.add(path);
    {
        const std::lock_guard lock(m_mutex);
        m_progress.filesInAll = survey.files();
        m_progress.bytesInAll = survey.bytes();
    }
    return mayBegin(survey.shortages());
}

bool ExpansionRun::mayBegin(std::vector<SpaceShortage> shortages)
{
    if (shortages.empty() || isCancelled() || !m_ask)
        return !isCancelled();
    std::unique_lock lock(m_mutex);
    m_shortages = std::move(shortages);
    m_progress.phase = Phase::Asking;
    lock.unlock();
    m_ask();
    lock.lock();
    m_hasAnswer.wait(lock, m_stop.get_token(), [this] { return m_doGoOn.has_value(); });
    return m_doGoOn.value_or(false) && !isCancelled();
}

std::vector<SpaceShortage> ExpansionRun::shortages() const
{
    const std::lock_guard lock(m_mutex);
    return m_shortages;
}

void ExpansionRun::goOn(bool doGoOn)
{
    if (!doGoOn)
        m_stop.request_stop();
    const std::lock_guard lock(m_mutex);
    m_doGoOn = doGoOn;
    m_hasAnswer.notify_all();
}

void ExpansionRun::cancel()
{
    m_stop.request_stop();
}

void ExpansionRun::setPhase(Phase phase)
{
    const std::lock_guard lock(m_mutex);
    m_progress.phase = phase;
    m_progress.current.clear();
}

void ExpansionRun::willExpandFile(const Path &path)
{
    m_sizeBefore = FileSystem::current().occupiedSize(path).valueOr(0);
    m_sizeInHand = FileSystem::current().logicalSize(path).valueOr(0);
    const std::lock_guard lock(m_mutex);
    m_progress.current = path;
}

void ExpansionRun::didExpandFile(const Path &)
{
    const std::lock_guard lock(m_mutex);
    ++m_progress.filesDone;
    m_progress.bytesDone += m_sizeInHand;
}

/// Whether it is what keeps the fork and the attributes of the file beside it, and so no file of its own. The
/// attributes of that one cannot be told where somebody has given a file of another kind such a name.
static bool isCompanion(const Path &path)
{
    const std::string name = path.filename().native();
    if (name.size() < 3 || !name.starts_with("._"))
        return false;
    const Path owner = path.parent_path() / name.substr(2);
    const FileSystem &files = FileSystem::current();
    const Result<FileStatus> status = files.status(owner);
    if (!status || status->type != FileType::Regular)
        return false;
    const Result<std::vector<std::string>> names = files.attributeNames(owner, Links::NotFollow);
    return names || names.failure().code != ErrorCode::Corrupt;
}

void ExpansionRun::fileLeftAlone(const Path &path, LeftAlone reason)
{
    if (reason == LeftAlone::NotRegular || !isCompanion(path))
        add({reason, path});
}

void ExpansionRun::pathUnreadable(const Path &path, const Failure &failure)
{
    add({ExpansionOutcome::Result::Unreadable, path, 0, 0, false, failure.context});
}

void ExpansionRun::expansionEnded(const Path &path, const ExpansionOutcome &outcome)
{
    ExpansionEntry entry{outcome.result, path, m_sizeBefore, 0, outcome.isFlagLeftCleared, outcome.reason};
    if (outcome.result == ExpansionOutcome::Result::Expanded) {
        entry.after = outcome.writtenSize;
        entry.detail = outcome.reasonForkKept;
    }
    add(std::move(entry));
}

void ExpansionRun::add(ExpansionEntry entry)
{
    m_journal.append(m_describe(entry));
    const std::lock_guard lock(m_mutex);
    if (++m_progress.counts[entry.reason] <= kKept)
        m_progress.fresh.push_back(std::move(entry));
}

ExpansionProgress ExpansionRun::takeProgress()
{
    const std::lock_guard lock(m_mutex);
    m_progress.isCancelled = isCancelled();
    std::vector<ExpansionEntry> fresh = std::exchange(m_progress.fresh, {});
    ExpansionProgress taken = m_progress;
    taken.fresh = std::move(fresh);
    return taken;
}
