#pragma once

#include <QObject>

#include <condition_variable>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

/// Counts in the background how many files of the watched folders some entries of an exclusion list leave out. Only the
/// last question is answered. Main thread; the files are looked at on a thread of its own, which yields to everything.
class ExclusionCounter final : public QObject
{
    Q_OBJECT

public:
    struct Question
    {
        std::vector<std::string> folders; ///< one within another counts once
        std::vector<std::string> paths;
        std::vector<std::string> extensions;
    };

    explicit ExclusionCounter(QObject *parent = nullptr);
    ~ExclusionCounter() override;

    /// Counts anew, in place of what is being counted. The answer is a `counted`.
    void count(Question question);

    /// No answer is wanted any more.
    void stop();

Q_SIGNALS:
    void counted(quint64 files);

private:
    struct Task
    {
        int number = 0;
        Question question;
        std::stop_source stop;
    };

    void work(std::stop_token end);
    void answer(const Task &task);
    static std::optional<quint64> filesLeftOut(const Question &question, std::stop_token stop);

    int m_number = 0; ///< of the question that counts

    std::mutex m_mutex; ///< guards what follows
    std::condition_variable_any m_changed;
    std::optional<Task> m_next;
    std::stop_source m_current;
    std::jthread m_thread; ///< started by the first question
};
