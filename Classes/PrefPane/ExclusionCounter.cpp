#include "Classes/PrefPane/ExclusionCounter.h"

#include "Classes/PrefPane/Exclusions.h"
#include "Platform/FileSystem.h"
#include "Platform/ThisProcess.h"

#include <set>
#include <utility>

ExclusionCounter::ExclusionCounter(QObject *parent)
    : QObject(parent)
{
}

ExclusionCounter::~ExclusionCounter()
{
    stop();
}

void ExclusionCounter::count(Question question)
{
    stop();
    if (!m_thread.joinable())
        m_thread = std::jthread([this](std::stop_token end) { work(std::move(end)); });
    const std::lock_guard lock(m_mutex);
    m_next = Task{m_number, std::move(question), std::stop_source()};
    m_changed.notify_all();
}

void ExclusionCounter::stop()
{
    ++m_number;
    const std::lock_guard lock(m_mutex);
    m_next.reset();
    m_current.request_stop();
}

void ExclusionCounter::work(std::stop_token end)
{
    // Where that is refused it works all the same.
    static_cast<void>(ThisProcess::current().makeThreadIdle());
    std::unique_lock lock(m_mutex);
    while (m_changed.wait(lock, end, [this] { return m_next.has_value(); })) {
        const Task task = *std::exchange(m_next, std::nullopt);
        m_current = task.stop;
        lock.unlock();
        answer(task);
        lock.lock();
    }
}

void ExclusionCounter::answer(const Task &task)
{
    const std::optional<quint64> files = filesLeftOut(task.question, task.stop.get_token());
    if (!files)
        return;
    QMetaObject::invokeMethod(
        this,
        [this, number = task.number, files = *files] {
            if (number == m_number)
                Q_EMIT counted(files);
        },
        Qt::QueuedConnection);
}

/// Nothing when it was stopped. Folders that cannot be read are passed over.
std::optional<quint64> ExclusionCounter::filesLeftOut(const Question &question, std::stop_token stop)
{
    const Exclusions exclusions(nullptr, question.paths, question.extensions);
    quint64 count = 0;
    std::set<FileIdentity> entered;
    const auto visit = [&](const WalkEntry &entry) {
        if (entry.status.type == FileType::Directory)
            return entered.insert(entry.status.identity).second;
        count += entry.status.type == FileType::Regular && exclusions.leavesOut(entry.path.native()) ? 1 : 0;
        return true;
    };
    for (const std::string &folder : question.folders) {
        const Result<FileStatus> status = FileSystem::current().status(folder);
        if (status && entered.insert(status->identity).second)
            static_cast<void>(FileSystem::current().walk(
                folder, visit, [](const Path &, const Failure &) {}, stop));
        if (stop.stop_requested())
            return std::nullopt;
    }
    return count;
}
