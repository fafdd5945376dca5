#pragma once

#include "Classes/PrefPane/ExpansionJournal.h"
#include "Classes/PrefPane/ExpansionReason.h"
#include "Classes/PrefPane/ExpansionSurvey.h"
#include "Classes/PrefPane/PXPathUncompressorDelegate.h"

#include <condition_variable>
#include <map>
#include <mutex>
#include <stop_token>

/// How far a run is, and what is new since it was last asked. A value.
struct ExpansionProgress
{
    enum class Phase { Measuring, Asking, Expanding, Ended };

    Phase phase = Phase::Measuring;
    std::uint64_t entries = 0;   ///< met while measuring
    std::uint64_t filesDone = 0; ///< tried, however that ended
    std::uint64_t filesInAll = 0;
    ByteCount bytesDone = 0; ///< of those
    ByteCount bytesInAll = 0;
    Path current; ///< the file in hand; empty when there is none
    bool isCancelled = false;
    std::map<ExpansionReason, std::uint64_t> counts;
    std::vector<ExpansionEntry> fresh; ///< the first `ExpansionRun::kKept` of each reason are told, each once
};

/// One run over dropped paths: measures what there is to do and whether there is room for it, asks where there is not,
/// expands one path after the other, and keeps what became of each file. `perform` is called once, on a thread of its
/// own; everything else from any thread.
class ExpansionRun final : public PXPathUncompressorObserver
{
public:
    /// So many files of each reason are told; the others are only counted, and written to the journal.
    static constexpr std::uint64_t kKept = 1000;

    /// How a file stands in the journal: a line, without its end.
    using Describe = std::function<std::string(const ExpansionEntry &)>;

    ExpansionRun(std::vector<Path> paths, Describe describe);

    /// To be set before the run. Called on its thread when there is too little room, and must lead to `goOn` once.
    void setAsk(std::function<void()> ask) { m_ask = std::move(ask); }

    /// Expands everything; `delegate` is told as by each path's uncompressor. Comes back when all is done or cancelled.
    void perform(PXPathUncompressorDelegate *delegate);

    /// What the question is about; empty before it is asked.
    std::vector<SpaceShortage> shortages() const;

    /// The answer: whether to expand all the same.
    void goOn(bool doGoOn);

    /// Ends the run between two blocks or two files.
    void cancel();
    bool isCancelled() const { return m_stop.stop_requested(); }

    /// To be told by the delegate.
    void willExpandFile(const Path &path);
    void didExpandFile(const Path &path);

    /// What is told as fresh is not told again.
    ExpansionProgress takeProgress();

    /// Every file, a line each. To be read once the run has ended.
    const ExpansionJournal &journal() const { return m_journal; }

    void fileLeftAlone(const Path &path, LeftAlone reason) override;
    void pathUnreadable(const Path &path, const Failure &failure) override;
    void expansionEnded(const Path &path, const ExpansionOutcome &outcome) override;

private:
    bool measure();
    bool mayBegin(std::vector<SpaceShortage> shortages);
    void add(ExpansionEntry entry);
    void setPhase(ExpansionProgress::Phase phase);

    const std::vector<Path> m_paths;
    const Describe m_describe;
    std::function<void()> m_ask;
    std::stop_source m_stop;
    ExpansionJournal m_journal; ///< of the run's thread
    ByteCount m_sizeBefore = 0; ///< what the file in hand occupied; of the run's thread
    ByteCount m_sizeInHand = 0; ///< what it will have; of the run's thread

    mutable std::mutex m_mutex;
    std::condition_variable_any m_hasAnswer;
    std::optional<bool> m_doGoOn;
    std::vector<SpaceShortage> m_shortages;
    ExpansionProgress m_progress;
};
