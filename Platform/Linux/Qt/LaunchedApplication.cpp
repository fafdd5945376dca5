#include "Platform/Linux/Qt/LaunchedApplication.h"

#include <QSocketNotifier>
#include <QTimer>

#include <cerrno>
#include <sys/wait.h>
#include <utility>

static constexpr int kPollMs = 500;

LaunchedApplication::LaunchedApplication(std::string identifier, DetachedProcess process)
    : m_identifier(std::move(identifier))
    , m_process(std::move(process))
{
    if (m_process.descriptor) {
        m_notifier = new QSocketNotifier(m_process.descriptor.get(), QSocketNotifier::Read, this);
        connect(m_notifier, &QSocketNotifier::activated, this, &LaunchedApplication::end);
        return;
    }
    m_timer = new QTimer(this);
    connect(m_timer, &QTimer::timeout, this, &LaunchedApplication::end);
    m_timer->start(kPollMs);
}

std::string LaunchedApplication::description() const
{
    return m_identifier + " (" + std::to_string(m_process.id) + ')';
}

void LaunchedApplication::observeTerminated(std::function<void()> handler)
{
    if (m_isTerminated)
        QMetaObject::invokeMethod(this, std::move(handler), Qt::QueuedConnection);
    else
        m_handlers.push_back(std::move(handler));
}

void LaunchedApplication::end()
{
    const pid_t ended = ::waitpid(m_process.id, nullptr, WNOHANG);
    const bool isReaped = ended == m_process.id || (ended < 0 && errno == ECHILD);
    if (!isReaped || std::exchange(m_isTerminated, true))
        return;
    stopWatching();
    m_process.descriptor = {};
    Q_EMIT terminated();
    for (const auto &handler : std::exchange(m_handlers, {}))
        handler();
}

/// Before the descriptor is closed, or the event loop would find it closed. What watches may be what has called.
void LaunchedApplication::stopWatching()
{
    if (m_notifier)
        m_notifier->setEnabled(false);
    if (m_timer)
        m_timer->stop();
}
