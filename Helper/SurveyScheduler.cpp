#include "Helper/SurveyScheduler.h"

#include "Classes/Shared/Log.h"
#include "Platform/AliasManager.h"
#include "Platform/ThisProcess.h"

#include <system_error>
#include <utility>

SurveyScheduler::SurveyScheduler(Survey survey)
    : m_survey(std::move(survey))
{
}

SurveyScheduler::~SurveyScheduler()
{
    stop();
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return !m_hasThread; });
}

void SurveyScheduler::start(std::vector<SurveyJob> jobs)
{
    stop();
    m_isSurveying = true;
    Round round{m_number, std::move(jobs), std::stop_source()};
    if (round.jobs.empty())
        return finish(round);
    const std::lock_guard lock(m_mutex);
    m_next = std::move(round);
    if (!std::exchange(m_hasThread, true))
        std::thread([this] { work(); }).detach();
}

void SurveyScheduler::stop()
{
    ++m_number;
    m_isSurveying = false;
    const std::lock_guard lock(m_mutex);
    m_next.reset();
    m_current.request_stop();
}

bool SurveyScheduler::waitUntilIdle(std::chrono::milliseconds timeout)
{
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, timeout, [this] { return !m_isBusy && !m_next; });
}

void SurveyScheduler::work()
{
    if (const auto done = ThisProcess::current().makeThreadIdle(); !done)
        logLine("Surveys run at ordinary priority: " + done.failure().context);
    std::unique_lock lock(m_mutex);
    while (m_next) {
        const Round round = *std::exchange(m_next, std::nullopt);
        m_current = round.stop;
        m_isBusy = true;
        lock.unlock();
        runRound(round);
        lock.lock();
        m_isBusy = false;
        m_changed.notify_all();
    }
    m_hasThread = false;
    m_changed.notify_all(); // with the lock held: nothing of this is touched once it has been let go
}

void SurveyScheduler::runRound(const Round &round)
{
    SurveyedFiles counted;
    for (const SurveyJob &job : round.jobs) {
        if (round.stop.stop_requested())
            return;
        runJob(round, job, counted);
    }
    finish(round);
}

void SurveyScheduler::finish(const Round &round)
{
    tell(round, [this] {
        m_isSurveying = false;
        Q_EMIT finished();
    });
}

void SurveyScheduler::runJob(const Round &round, const SurveyJob &job, SurveyedFiles &counted)
{
    const std::optional<Path> folder = locate(round, job);
    if (!folder) {
        logLine("Not surveyed, there is no such folder: " + job.folder);
        return;
    }
    const qint64 key = job.key;
    const auto report = [&](const SurveyProgress &progress) {
        tell(round, [this, key, progress] { Q_EMIT progressed(key, progress.percent, progress.savings); });
    };
    const Result<SurveyResult> result = m_survey(*folder, counted, report, round.stop.get_token());
    if (!result) {
        logLine("Not surveyed: " + result.failure().context);
        return;
    }
    if (!result->isComplete)
        return;
    logLine("Surveyed " + folder->native() + ": " + std::to_string(result->compressedFiles) +
            " compressed files save " + std::to_string(result->savings) + " bytes, " +
            std::to_string(result->damagedFiles) + " are damaged");
    tell(round, [this, key, savings = result->savings] { Q_EMIT surveyed(key, savings); });
}

/// Where the folder is now; a moved one is told of.
std::optional<Path> SurveyScheduler::locate(const Round &round, const SurveyJob &job)
{
    std::error_code ignored;
    if (!job.alias.empty()) {
        Result<AliasManager::Resolution> found = AliasManager::current().resolve(job.alias);
        if (found && std::filesystem::is_directory(found->path, ignored)) {
            if (found->path != Path(job.folder))
                tell(round, [this, key = job.key, path = found->path.native(), record = std::move(found->record)] {
                    Q_EMIT moved(key, path, record);
                });
            return found->path;
        }
    }
    if (std::filesystem::is_directory(job.folder, ignored))
        return Path(job.folder);
    return std::nullopt;
}

void SurveyScheduler::tell(const Round &round, std::function<void()> signal)
{
    QMetaObject::invokeMethod(
        this,
        [this, number = round.number, signal = std::move(signal)] {
            if (number == m_number)
                signal();
        },
        Qt::QueuedConnection);
}
