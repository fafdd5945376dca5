#pragma once

#include <QTimer>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <iterator>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

/// Looks at many things of which any may keep who looks at it for ever, as a folder does whose server is silent. That
/// is done on a thread that nobody waits for; where it hangs, another one goes on with the rest. Main thread.
template <class Question, class Answer>
class BackgroundLook final
{
public:
    using Answers = std::vector<std::pair<Question, Answer>>;
    using Clock = std::chrono::steady_clock;

    /// `look` is called on the threads and refers to nothing that may go. `found` is called on the main thread with
    /// what was found: mostly with all at once, and again with what hung, should it ever be answered. `now` is asked on
    /// the threads, too.
    BackgroundLook(std::function<Answer(const Question &)> look, std::function<void(Answers)> found,
                   std::function<Clock::time_point()> now = Clock::now)
        : m_found(std::move(found))
    {
        m_state->look = std::move(look);
        m_state->now = std::move(now);
        m_pulse.setInterval(kPulse);
        QObject::connect(&m_pulse, &QTimer::timeout, &m_pulse, [this] { handOver(); });
    }
    ~BackgroundLook()
    {
        const std::lock_guard lock(m_state->mutex);
        m_state->waiting.clear();
        m_state->receiver.reset();
    }
    BackgroundLook(const BackgroundLook &) = delete;
    BackgroundLook &operator=(const BackgroundLook &) = delete;

    /// Looks at these, each once; what hangs is not looked at again before it was answered. Of what is asked for while
    /// another look goes on, or a moment after the same was asked for, the last is done later. Returns at once.
    void begin(std::vector<Question> questions)
    {
        m_next = std::move(questions);
        m_pulse.start();
        goOn();
    }

    /// What was found does not serve any more: the same need not wait when it is asked for again.
    void expire() { m_asked.clear(); }

    /// Waits until everything has been looked at, for `longest` at most, and hands over what was found by then.
    void wait(std::chrono::milliseconds longest)
    {
        std::unique_lock lock(m_state->mutex);
        m_state->ended.wait_for(lock, longest, [this] { return m_state->waiting.empty() && m_state->flights.empty(); });
        lock.unlock();
        handOver(true);
    }

    static constexpr std::chrono::seconds kPatience{1}; ///< with one thing; more is a hang
    static constexpr std::chrono::seconds kServes{3};   ///< how long the same is not looked at again

private:
    static constexpr std::chrono::milliseconds kPulse{200};
    static constexpr std::size_t kMostThreads = 16;

    struct Flight
    {
        Question question;
        Clock::time_point start;
    };

    /// What the threads know. It may outlive whom they work for.
    struct State
    {
        std::function<Answer(const Question &)> look;
        std::function<Clock::time_point()> now;
        std::mutex mutex; ///< guards what follows
        std::condition_variable ended;
        std::deque<Question> waiting;
        std::list<Flight> flights; ///< what is being looked at, by a thread each
        std::size_t threads = 0;
        Answers answers;
        std::unique_ptr<QObject> receiver = std::make_unique<QObject>();

        std::size_t hanging() const
        {
            const auto hangs = [time = now()](const Flight &flight) { return time - flight.start >= kPatience; };
            return std::size_t(std::ranges::count_if(flights, hangs));
        }

        /// Whether nothing but what hangs is left of a look.
        bool isOver() const { return waiting.empty() && hanging() == flights.size(); }
    };

    void goOn()
    {
        const std::lock_guard lock(m_state->mutex);
        if (m_next && m_state->isOver() && (*m_next != m_asked || m_state->now() - m_began >= kServes))
            beginNext();
        const std::size_t hanging = m_state->hanging();
        if (!m_state->waiting.empty() && hanging == m_state->threads && hanging < kMostThreads)
            startThread();
        if (m_state->isOver() && m_state->answers.empty() && !m_next)
            m_pulse.stop();
    }

    void beginNext()
    {
        m_began = m_state->now();
        m_asked = *std::exchange(m_next, std::nullopt);
        std::ranges::copy_if(m_asked, std::back_inserter(m_state->waiting), [this](const Question &question) {
            return std::ranges::find(m_state->flights, question, &Flight::question) == m_state->flights.end();
        });
    }

    void startThread()
    {
        try {
            std::thread([this, state = m_state] { work(*state, *this); }).detach();
            ++m_state->threads;
        } catch (const std::system_error &) {
            // None can be had at the moment; the pulse tries again.
        }
    }

    static void work(State &state, BackgroundLook &owner)
    {
        std::unique_lock lock(state.mutex);
        while (!state.waiting.empty()) {
            const auto flight =
                state.flights.insert(state.flights.end(), {std::move(state.waiting.front()), state.now()});
            state.waiting.pop_front();
            lock.unlock();
            Answer answer = state.look(flight->question);
            lock.lock();
            state.answers.emplace_back(std::move(flight->question), std::move(answer));
            state.flights.erase(flight);
        }
        --state.threads;
        state.ended.notify_all();
        if (state.receiver) // then the owner is there, too
            QMetaObject::invokeMethod(
                state.receiver.get(), [&owner] { owner.handOver(); }, Qt::QueuedConnection);
    }

    void handOver(bool isUnfinishedToo = false)
    {
        std::unique_lock lock(m_state->mutex);
        const bool isOver = m_state->isOver() || isUnfinishedToo;
        Answers answers = isOver ? std::exchange(m_state->answers, {}) : Answers();
        lock.unlock();
        goOn();
        if (!answers.empty())
            m_found(std::move(answers));
    }

    std::function<void(Answers)> m_found;
    std::shared_ptr<State> m_state = std::make_shared<State>();
    std::vector<Question> m_asked; ///< last
    Clock::time_point m_began;
    std::optional<std::vector<Question>> m_next;
    QTimer m_pulse; ///< while something is waiting
};
