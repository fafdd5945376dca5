#pragma once

#include "Classes/Shared/FolderSurvey.h"
#include "Platform/Types.h"

#include <QObject>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

/// A folder to survey.
struct SurveyJob
{
    qint64 key = 0;
    std::string folder; ///< where it was last
    Bytes alias;        ///< empty when there is none
};

/// Surveys folders one after another on one thread that yields to everything else, and that is there only while there
/// is something to survey: on a busy machine even its end takes long. Files met in one folder of a round do not count
/// in another. Its signals come on the thread that owns this, and none comes of a round that was stopped.
class SurveyScheduler final : public QObject
{
    Q_OBJECT

public:
    using Survey = std::function<Result<SurveyResult>(const Path &folder, SurveyedFiles &counted,
                                                      FolderSurvey::Progressed progressed, std::stop_token stop)>;

    /// `survey` runs on the thread of this.
    explicit SurveyScheduler(Survey survey);
    ~SurveyScheduler() override;

    /// Surveys these folders, in their order, in place of what is being surveyed.
    void start(std::vector<SurveyJob> jobs);

    /// Ends the round. The thread may need a moment more, `waitUntilIdle` tells.
    void stop();

    /// Whether a round is under way.
    bool isSurveying() const { return m_isSurveying; }

    /// Waits until the thread has nothing to do; answers whether that came in time.
    bool waitUntilIdle(std::chrono::milliseconds timeout);

Q_SIGNALS:
    void progressed(qint64 key, unsigned percent, quint64 savings);
    void surveyed(qint64 key, quint64 savings);

    /// The folder was found at another place than where it was last.
    void moved(qint64 key, const std::string &folder, const Bytes &alias);
    void finished();

private:
    struct Round
    {
        int number = 0;
        std::vector<SurveyJob> jobs;
        std::stop_source stop;
    };

    void work();
    void runRound(const Round &round);
    void finish(const Round &round);
    void runJob(const Round &round, const SurveyJob &job, SurveyedFiles &counted);
    std::optional<Path> locate(const Round &round, const SurveyJob &job);
    void tell(const Round &round, std::function<void()> signal);

    Survey m_survey;
    int m_number = 0; ///< of the round whose signals count
    bool m_isSurveying = false;

    std::mutex m_mutex; ///< guards what follows
    std::condition_variable m_changed;
    std::optional<Round> m_next;
    std::stop_source m_current;
    bool m_isBusy = false; ///< the thread is in the middle of a round
    bool m_hasThread = false;
};
